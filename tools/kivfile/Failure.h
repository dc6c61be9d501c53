// Failures in words.
#pragma once

#include <exception>
#include <string>

#include <KivBase/Exception.h>

namespace KivTool
{

// What a command reports of a failure: the class, for programs, and a text for people, in UTF-8.
struct Failure {
    std::string className;
    std::string message;
};

// A failure that the tool itself finds. The text is UTF-8.
struct ToolError {
    std::string message;
};

// Runs action; returns true when it ran to its end, else fills failure with what it threw. Everything that this
// library and the standard library throw is understood.
template <class Action>
bool Attempt(Failure& failure, const Action& action);

Failure Describe(const Kiv::BaseException& exception);

template <class Action>
bool Attempt(Failure& failure, const Action& action)
{
    try {
        action();
        return true;
    } catch (const Kiv::BaseException& exception) {
        failure = Describe(exception);
    } catch (const ToolError& error) {
        failure = {"Error", error.message};
    } catch (const std::bad_alloc&) {
        failure = {"std::bad_alloc", "not enough memory"};
    } catch (const std::exception& exception) {
        failure = {"std::exception", exception.what()};
    }
    return false;
}

} // namespace KivTool
