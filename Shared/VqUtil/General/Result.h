#pragma once

#include <QString>
#include <optional>
#include <utility>

namespace Velquor::Util {

/// Why an operation failed, as a text for the log.
struct Failure {
    QString reason;
};

/// The result of an operation that can fail with a reason: the value, or the reason why there is none.
///
/// Return the value itself or a `Failure`. An operation whose caller only needs to know whether it worked returns bool; one whose
/// caller must distinguish more than two outcomes returns an enum of its own. Thread: as the value.
template <class Value>
class [[nodiscard]] Result {
public:
    // Implicit, so that a function returns either without naming the class.
    Result(Value value)
        : m_value(std::move(value)) {}
    Result(Failure failure)
        : m_reason(std::move(failure.reason)) {}

    explicit operator bool() const { return m_value.has_value(); }

    /// The value. Only when there is one.
    [[nodiscard]] Value& operator*() { return *m_value; }
    [[nodiscard]] const Value& operator*() const { return *m_value; }
    [[nodiscard]] Value* operator->() { return &*m_value; }
    [[nodiscard]] const Value* operator->() const { return &*m_value; }

    /// Why there is no value; empty when there is one.
    [[nodiscard]] const QString& reason() const { return m_reason; }

private:
    std::optional<Value> m_value;
    QString m_reason;
};

/// The same for an operation without a value: default-constructed, it succeeded.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Failure failure)
        : m_failure(std::move(failure)) {}

    explicit operator bool() const { return !m_failure.has_value(); }

    /// Why it failed; empty when it did not.
    [[nodiscard]] QString reason() const { return m_failure ? m_failure->reason : QString(); }

private:
    std::optional<Failure> m_failure;
};

} // namespace Velquor::Util
