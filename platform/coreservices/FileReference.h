// What is inside a file reference.
#pragma once

#include <CoreServices/Files.h>

#include <string>

namespace tvplatform {

// The path in a reference; null for null and for a reference to nothing.
const char* PathOf(const FSRef* ref);

// Makes `ref` stand for the object at `path`, whose canonical path it gets. 0, or the error number
// with `ref` untouched.
int MakeReference(const char* path, FSRef& ref);

}  // namespace tvplatform
