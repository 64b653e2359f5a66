#include "Output.h"

#include "Platform/Console.h"
#include "Texts.h"

#include <QJsonDocument>

namespace Vqws {

namespace {

void writeError(const QString& text) {
    const int width = Console::width(Console::Stream::Error);
    Console::write(Console::Stream::Error, wrapped(QStringLiteral("vqws: ") + text, width, 2).toUtf8() + '\n');
}

} // namespace

Output::Output(Form form, bool isQuiet, const QString& command)
    : m_form(form)
    , m_isQuiet(isQuiet)
    , m_command(command) {}

void Output::line(const QString& text) const {
    if (m_form == Form::Text)
        Console::write(Console::Stream::Output, text.toUtf8() + '\n');
}

void Output::row(const QString& label, const QString& value, int labelWidth) const {
    line(label.leftJustified(labelWidth) + wrapped(value, Console::width(Console::Stream::Output), labelWidth));
}

void Output::bytes(const QByteArray& bytes) const {
    if (m_form == Form::Text)
        Console::write(Console::Stream::Output, bytes);
}

void Output::object(QJsonObject object, bool ok) const {
    object.insert(QStringLiteral("command"), m_command);
    object.insert(QStringLiteral("ok"), ok);
    plainObject(object);
}

void Output::plainObject(const QJsonObject& object) const {
    if (m_form == Form::Json)
        Console::write(Console::Stream::Output, QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
}

void Output::note(const QString& text) const {
    if (!m_isQuiet)
        writeError(text);
}

ExitCode Output::fail(ExitCode code, const QString& text, QJsonObject more) const {
    writeError(text);
    more.insert(QStringLiteral("error"), text);
    more.insert(QStringLiteral("exitStatus"), static_cast<int>(code));
    object(more, false);
    return code;
}

} // namespace Vqws
