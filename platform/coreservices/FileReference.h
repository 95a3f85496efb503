// The contents of a file reference.
#pragma once

#include <CoreServices/Files.h>

namespace tvplatform {

// Returns the path in a reference, or null if `ref` is null or stands for no object.
const char* PathOf(const FSRef* ref);

// Makes `ref` stand for the object at `path`, with its canonical path. Returns 0, or the error
// number with `ref` untouched.
int MakeReference(const char* path, FSRef& ref);

}  // namespace tvplatform
