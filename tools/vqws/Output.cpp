#include "Output.h"

#include "CommandTable.h"
#include "Platform/Console.h"
#include "Texts.h"

#include <QJsonDocument>

namespace Vqws {

namespace {

// It grows when a key goes or means something else, not when one is added.
constexpr int formVersion = 1;

void writeError(const QString& text) {
    const int width = Console::width(Console::Stream::Error);
    Console::write(Console::Stream::Error, wrapped(QStringLiteral("vqws: ") + text, width, 2).toUtf8() + '\n');
}

} // namespace

Output::Output(Form form, bool isQuiet, const CommandInfo* command)
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

void Output::object(QJsonObject object, ExitCode code) const {
    const auto addUnknown = [&object](const QString& key) {
        if (!object.contains(key))
            object.insert(key, QJsonValue::Null);
    };
    object.insert(QStringLiteral("command"), m_command ? QJsonValue(m_command->name) : QJsonValue(QJsonValue::Null));
    object.insert(QStringLiteral("ok"), code == ExitCode::Ok);
    object.insert(QStringLiteral("exitStatus"), static_cast<int>(code));
    addUnknown(QStringLiteral("error"));
    for (const QString& key : m_command ? m_command->keys : QStringList())
        addUnknown(key);
    plainObject(object);
}

void Output::plainObject(QJsonObject object) const {
    object.insert(QStringLiteral("version"), formVersion);
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
    object(more, code);
    return code;
}

} // namespace Vqws
