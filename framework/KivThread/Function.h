// Callable objects that threads run and call back.
#pragma once

#include <type_traits>
#include <utility>

#include <KivBase/Export.h>
#include <KivBase/SmartPtr.h>

namespace KivThread
{

// Something to call with one argument, whose meaning the caller states.
class KIV_EXPORT Function
{
public:
    virtual ~Function();
    virtual void operator()(void* argument) = 0;
};

// A Function that is made of any object with a call operator.
template <class Callable>
class FunctionT_ : public Function
{
public:
    explicit FunctionT_(Callable callable) : m_callable(std::move(callable)) {}

    void operator()(void* argument) override { m_callable(argument); }

private:
    Callable m_callable;
};

// Calls a member function that takes a void*. The pointer to the object is a plain one, which owns nothing, or a
// SmartPtr, which owns a share.
template <class Pointer, class Member>
class MemberPointerWrapper_
{
public:
    // defaultArgument: what the member gets in place of a null argument.
    MemberPointerWrapper_(Pointer object, Member member, void* defaultArgument = nullptr)
        : m_object(std::move(object)), m_member(member), m_defaultArgument(defaultArgument)
    {
    }

    void operator()(void* argument) { ((*m_object).*m_member)(argument ? argument : m_defaultArgument); }

private:
    Pointer m_object;
    Member m_member;
    void* m_defaultArgument;
};

// A Function of a lambda, a MemberPointerWrapper_ or any other object that can be called with a void*.
template <class Callable>
[[nodiscard]] Kiv::SmartPtr<Function> MakeFunction(Callable&& callable)
{
    return Kiv::MakeShared<FunctionT_<std::decay_t<Callable>>>(std::forward<Callable>(callable));
}

} // namespace KivThread
