#pragma once

#include "ExitCode.h"

#include <QJsonObject>
#include <QString>

namespace Vqws {

struct CommandInfo;

/// The output of the tool: results on standard output, as text or as JSON, and all other texts on standard error.
///
/// Thread: any. Owner: main().
class Output {
public:
    enum class Form { Text, Json };

    /// `command` is null without one.
    Output(Form form, bool isQuiet, const CommandInfo* command);

    [[nodiscard]] bool isJson() const { return m_form == Form::Json; }
    [[nodiscard]] bool isQuiet() const { return m_isQuiet; }

    // Results. Texts are written in the form Text only, objects in the form Json only. So a command may pass both.

    void line(const QString& text) const;
    /// A label and its value, in two columns; long values are wrapped on a terminal.
    void row(const QString& label, const QString& value, int labelWidth = usualLabelWidth) const;
    void bytes(const QByteArray& bytes) const;
    /// Adds the members that all objects have. Those of the command that `object` lacks are null, so that the keys are always the
    /// same.
    void object(QJsonObject object, ExitCode code = ExitCode::Ok) const;
    /// Adds the version of the form of all objects.
    void plainObject(QJsonObject object) const;

    /// Writes a remark to standard error, except with `--quiet`.
    void note(const QString& text) const;
    /// Writes why the command failed, to standard error and as an object, and returns the exit status. The object also contains
    /// the members of `more`.
    ExitCode fail(ExitCode code, const QString& text, QJsonObject more = {}) const;

private:
    static constexpr int usualLabelWidth = 20;

    const Form m_form;
    const bool m_isQuiet;
    const CommandInfo* const m_command;
};

} // namespace Vqws
