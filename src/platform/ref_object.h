#pragma once
// Small counted objects: what the parts of the library share between owners and keep by name.

#include <new>
#include <utility>

#include "platform/unknown.h"

namespace zr {

// The counted holder of such objects is the one smart pointer of the library.
template <class T>
using CAutoObj = ZrPtr<T>;

// Gives T, which derives from it, a reference count; the only face that can be asked for is IUnknown (and I).
template <class T, class I = IUnknown>
class AutoObjBase : public UnknownImpl<I> {
public:
    // A new T in a holder, which is empty when memory is out.
    template <class... Args>
    static CAutoObj<T> Make(Args&&... _args) {
        return CAutoObj<T>::Attach(new (std::nothrow) T(std::forward<Args>(_args)...));
    }
};

// A value of any type, to be kept under a name; ObjectVal carries the value.
class ObjectBase : public AutoObjBase<ObjectBase> {
protected:
    explicit ObjectBase(const void* _pType) : pType(_pType) {}

    template <class T>
    friend class ObjectVal;

private:
    const void* const pType;  // an address that stands for the value's type
};

template <class T>
class ObjectVal final : public ObjectBase {
public:
    explicit ObjectVal(T _value) : ObjectBase(&nTag), value(std::move(_value)) {}

    // A new object around the value, empty when memory is out.
    static CAutoObj<ObjectBase> Make(T _value) {
        return CAutoObj<ObjectBase>::Attach(new (std::nothrow) ObjectVal(std::move(_value)));
    }
    // The value inside _p, null when _p is null or holds another type. Lives as long as the object.
    static T* In(const CAutoObj<ObjectBase>& _p) {
        return _p && _p->pType == &nTag ? &static_cast<ObjectVal*>(_p.Get())->value : nullptr;
    }

    T value;

private:
    static inline char nTag = 0;
};

}  // namespace zr
