#include "VqLog/CallReport.h"

#include <cstdio>
#include <utility>

namespace Velquor::Log {

namespace {
thread_local CallReport* current = nullptr;
}

CallReport::CallReport()
    : m_outer(current) {
    current = this;
}

CallReport::~CallReport() {
    current = m_outer;
}

bool CallReport::isActive() {
    return current != nullptr;
}

void CallReport::fail(CallFailure failure) {
    if (current)
        current->m_failure = failure;
}

CallFailure CallReport::currentFailure() {
    return current ? current->m_failure : CallFailure::None;
}

void CallReport::noteHttpStatus(int status) {
    if (current)
        current->m_httpStatus = status;
}

void CallReport::noteError(const QString& prefix, const QString& text) {
    if (!current)
        return;
    current->m_prefix = prefix;
    current->m_text = text;
}

QString CallReport::text() const {
    return m_prefix.isEmpty() ? m_text : m_prefix + QStringLiteral(": ") + m_text;
}

CallReportPause::CallReportPause()
    : m_paused(std::exchange(current, nullptr)) {}

CallReportPause::~CallReportPause() {
    current = m_paused;
}

void tellWithoutLog(const QString& text) {
    if (CallReport::isActive())
        return CallReport::noteError(QString(), text);
    std::puts(text.toLocal8Bit().constData());
    std::fflush(stdout);
}

} // namespace Velquor::Log
