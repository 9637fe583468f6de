#pragma once

#include <QCoroTask>
#include <QEventLoop>
#include <QTest>

#include <exception>
#include <optional>
#include <type_traits>

// Runs coroutines to their end in a nested event loop, for tests. Unlike a bare wait, a
// thrown error comes back to the test instead of leaving the loop running forever.
namespace AsyncTest {

template <typename T> struct Outcome
{
    std::optional<std::conditional_t<std::is_void_v<T>, bool, T>> value;
    std::exception_ptr error;
};

namespace detail {
template <typename T>
QCoro::Task<> drive(QCoro::Task<T> task, Outcome<T>& outcome, bool& done, QEventLoop& loop)
{
    try {
        if constexpr (std::is_void_v<T>) {
            co_await std::move(task);
            outcome.value = true;
        } else {
            outcome.value = co_await std::move(task);
        }
    } catch (...) {
        outcome.error = std::current_exception();
    }
    done = true;
    loop.quit();
}
} // namespace detail

template <typename T> Outcome<T> run(QCoro::Task<T> task)
{
    QEventLoop loop;
    bool done = false;
    Outcome<T> outcome;
    detail::drive<T>(std::move(task), outcome, done, loop);
    if (!done)
        loop.exec();
    return outcome;
}

// The task's result; its error is rethrown.
template <typename T> T await(QCoro::Task<T> task)
{
    auto outcome = run<T>(std::move(task));
    if (outcome.error)
        std::rethrow_exception(outcome.error);
    if constexpr (!std::is_void_v<T>)
        return std::move(*outcome.value);
}

// The error of type E that the task threw; fails the test when it threw none or another.
template <typename E, typename T> std::optional<E> awaitError(QCoro::Task<T> task)
{
    auto outcome = run<T>(std::move(task));
    if (!outcome.error)
        return std::nullopt;
    try {
        std::rethrow_exception(outcome.error);
    } catch (const E& error) {
        return error;
    } catch (...) {
        return std::nullopt;
    }
}

} // namespace AsyncTest
