#include "corefoundation/collection/Data.h"

#include <functional>
#include <string_view>

bool __CFData::Equal(const Object& other) const {
    return bytes_ == static_cast<const __CFData&>(other).bytes_;
}

CFHashCode __CFData::Hash() const {
    return std::hash<std::string_view>()(
        {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()});
}
