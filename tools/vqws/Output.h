#pragma once

#include "ExitCode.h"

#include <QJsonObject>
#include <QString>

namespace Vqws {

/// What the tool says: results on standard output, as text or as JSON; all else on standard error.
///
/// Thread: any. Owner: main().
class Output {
public:
    enum class Form { Text, Json };

    Output(Form form, bool isQuiet, const QString& command);

    [[nodiscard]] bool isJson() const { return m_form == Form::Json; }
    [[nodiscard]] bool isQuiet() const { return m_isQuiet; }

    // Results. Texts are written with Text only, objects with Json only, so that a command may say both.

    void line(const QString& text) const;
    /// A label and its value, in two columns; long values are wrapped on a terminal.
    void row(const QString& label, const QString& value, int labelWidth = usualLabelWidth) const;
    void bytes(const QByteArray& bytes) const;
    /// With the members "command" and "ok".
    void object(QJsonObject object, bool ok = true) const;
    /// As it is.
    void plainObject(const QJsonObject& object) const;

    /// A remark on standard error, unless it is to be quiet.
    void note(const QString& text) const;
    /// Says why the command failed, on standard error and as an object, and returns the exit status. The members of `more` go
    /// into the object.
    ExitCode fail(ExitCode code, const QString& text, QJsonObject more = {}) const;

private:
    static constexpr int usualLabelWidth = 20;

    const Form m_form;
    const bool m_isQuiet;
    const QString m_command;
};

} // namespace Vqws
