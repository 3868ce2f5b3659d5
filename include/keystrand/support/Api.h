// What every public header of Keystrand needs: the mark of an exported class or function, and the mark of ownership.
#pragma once

#define KEYSTRAND_API __attribute__((visibility("default")))

namespace keystrand {

// A raw pointer of this type belongs to whoever receives it: delete it, or delete[] it when it points at text or bytes.
// An object that an exported function returned goes back through the function of the release family instead.
template <class T>
using owner = T;

}  // namespace keystrand
