// Asking somebody at the console.
#pragma once

#include <unistd.h>

#include "support/SecretBytes.h"

namespace keystrand {

constexpr std::size_t kLongestSecret = 255;

// Writes the prompt and reads a line that is not shown: a "*" stands for each character, and a backspace takes one
// back. Ended by a carriage return, a line feed or the end of the input; characters beyond kLongestSecret are passed
// over. What is no console is read as it is. Thread: one at a time, since a console is one.
SecretBytes readSecret(const char* prompt, int in = STDIN_FILENO, int out = STDOUT_FILENO);

}  // namespace keystrand
