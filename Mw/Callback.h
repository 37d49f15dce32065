#pragma once

#include "Mw/Ptr.h"

// Something that can be called with an A and gives an R, counted and held by whoever calls it.
template <class R, class A>
class iCallbackBase : public virtual Mw::InternalRefCount
{
public:
    ~iCallbackBase() override = default;

    virtual R execute(const A& argument) = 0;

    R operator()(const A& argument) { return execute(argument); }
};

// Calls a member function of an object that it does not own: the object must outlive the callback.
// After the call it touches nothing of itself, so the call may destroy the callback.
template <class C, class A, class R = int>
class MethodCallback : public iCallbackBase<R, A>
{
public:
    using Method = R (C::*)(const A&);

    MethodCallback(C* object, Method method) : object_(object), method_(method) {}

    R execute(const A& argument) override { return (object_->*method_)(argument); }

protected:
    C* object() const noexcept { return object_; }

private:
    C* object_;
    Method method_;
};

namespace detail
{

template <class>
struct CalledBy;
template <class C, class A, class R>
struct CalledBy<R (C::*)(const A&)>
{
    using Object = C;
    using Callback = MethodCallback<C, A, R>;
    using Argument = A;
    using Result = R;
};

} // namespace detail

// The same with the member function told to the compiler, as in BoundCallback<&Panel::changed>: one jump to it
// instead of two.
template <auto method>
class BoundCallback final : public detail::CalledBy<decltype(method)>::Callback
{
    using Called = detail::CalledBy<decltype(method)>;

public:
    explicit BoundCallback(typename Called::Object* object) : Called::Callback(object, method) {}

    typename Called::Result execute(const typename Called::Argument& argument) override
    {
        return (this->object()->*method)(argument);
    }
};
