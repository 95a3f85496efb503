// Owns one reference on an object. One thread at a time may use a holder.
#pragma once

#include "corefoundation/object/Object.h"

#include <utility>

namespace tvplatform {

template <class T>
class ObjectRef {
public:
    ObjectRef() = default;
    explicit ObjectRef(T* borrowed) : object_(borrowed) {
        if (object_ != nullptr) {
            object_->Retain();
        }
    }
    ObjectRef(const ObjectRef& other) : ObjectRef(other.object_) {}
    ObjectRef(ObjectRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ObjectRef& operator=(ObjectRef other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ObjectRef() {
        if (object_ != nullptr) {
            object_->Release();
        }
    }

    T* Get() const { return object_; }
    T* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    T* object_ = nullptr;
};

}  // namespace tvplatform
