#pragma once

#include "platform/services/Error.h"

#include <QtGlobal>

#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace platform {

/// The outcome of an operation that can fail: a value, or the error that says why there is none.
/// To access the one that is not there is a bug of the caller, which Q_ASSERT reports.
template <typename Value> class [[nodiscard]] Result {
    static_assert(!std::is_same_v<Value, Error>);

public:
    // Not explicit, so that a function can return either.
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(Value value)
        : m_outcome(std::in_place_index<0>, std::move(value))
    {
    }
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(Error error)
        : m_outcome(std::in_place_index<1>, std::move(error))
    {
    }

    /// Whether there is a value.
    explicit operator bool() const { return m_outcome.index() == 0; }

    const Value& value() const&
    {
        Q_ASSERT(*this);
        return std::get<0>(m_outcome);
    }
    Value& value() &
    {
        Q_ASSERT(*this);
        return std::get<0>(m_outcome);
    }
    /// By value, so that a loop over the value of a temporary result is safe.
    Value value() &&
    {
        Q_ASSERT(*this);
        return std::move(std::get<0>(m_outcome));
    }

    const Value& operator*() const& { return value(); }
    Value& operator*() & { return value(); }
    Value operator*() && { return std::move(*this).value(); }
    const Value* operator->() const { return &value(); }
    Value* operator->() { return &value(); }

    const Error& error() const
    {
        Q_ASSERT(!*this);
        return std::get<1>(m_outcome);
    }

private:
    std::variant<Value, Error> m_outcome;
};

/// The outcome of an operation that gives no value: success, or an error.
template <> class [[nodiscard]] Result<void> {
public:
    Result() = default; ///< success
    // NOLINTNEXTLINE(google-explicit-constructor)
    Result(Error error)
        : m_error(std::move(error))
    {
    }

    /// Whether the operation succeeded.
    explicit operator bool() const { return !m_error; }

    const Error& error() const
    {
        Q_ASSERT(m_error);
        return *m_error;
    }

private:
    std::optional<Error> m_error;
};

} // namespace platform
