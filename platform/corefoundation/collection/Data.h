// The data object, which never changes. Property lists make it, and put it back.
#pragma once

#include "corefoundation/object/Object.h"

#include <string>
#include <utility>

namespace tvplatform {

struct Data final : Object {
    static constexpr TypeId cType = TypeId::Data;

    explicit Data(std::string content) : Object(cType), bytes(std::move(content)) {}

    bool Equal(const Object& other) const override {
        return bytes == static_cast<const Data&>(other).bytes;
    }
    CFHashCode Hash() const override { return bytes.size(); }

    const std::string bytes;
};

}  // namespace tvplatform
