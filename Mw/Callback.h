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

private:
    C* object_;
    Method method_;
};
