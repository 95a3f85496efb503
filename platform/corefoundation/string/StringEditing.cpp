// Changing mutable strings.
#include "corefoundation/string/String.h"

using namespace tvplatform;

void CFStringReplace(CFMutableStringRef string, CFRange range, CFStringRef replacement) {
    String* object = As<String>(string);
    const auto inserted = TextOf(replacement);
    if (object == nullptr || !object->IsMutable() || !inserted ||
        !LiesIn(range, object->Text().size())) {
        return;
    }
    // The standard string copes with a source that is part of itself.
    object->MutableText()->replace(static_cast<size_t>(range.location),
                                   static_cast<size_t>(range.length), inserted->data(),
                                   inserted->size());
}

void CFStringReplaceAll(CFMutableStringRef string, CFStringRef replacement) {
    CFStringReplace(string, {0, CFStringGetLength(string)}, replacement);
}

void CFStringAppend(CFMutableStringRef string, CFStringRef appended) {
    CFStringReplace(string, {CFStringGetLength(string), 0}, appended);
}

void CFStringInsert(CFMutableStringRef string, CFIndex index, CFStringRef inserted) {
    CFStringReplace(string, {index, 0}, inserted);
}

void CFStringDelete(CFMutableStringRef string, CFRange range) {
    CFStringReplace(string, range, CFSTR(""));
}
