// What the processor can do, asked once.
#pragma once

namespace keystrand {

struct Processor {
  bool shaExtensions = false;  // SHA-1 and SHA-256 rounds, with the SSE4.1 and SSSE3 that their code also uses
  bool bmi2 = false;           // rotations without flags
};

const Processor& processor();

}  // namespace keystrand
