// The scratch buffer in which streams scramble blocks of bytes.
#pragma once

namespace Tova {

// Returns the buffer of the process, which holds at least `size` bytes. A later call that makes it
// grow invalidates what earlier calls returned. Takes no lock: one thread at a time may use it.
unsigned char* GetTempBuffer(unsigned long size);

}  // namespace Tova
