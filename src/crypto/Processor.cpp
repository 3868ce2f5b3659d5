#include "crypto/Processor.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

namespace keystrand {

namespace {

#if defined(__x86_64__)
Processor ask() {
  unsigned int eax = 0;
  unsigned int ebx = 0;
  unsigned int ecx = 0;
  unsigned int edx = 0;
  Processor found;
  __builtin_cpu_init();
  found.bmi2 = __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
  const bool vectors = __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
  constexpr unsigned int kFeatureLeaf = 7;
  const bool asked = __get_cpuid_count(kFeatureLeaf, 0, &eax, &ebx, &ecx, &edx) != 0;
  found.shaExtensions = vectors && asked && (ebx & static_cast<unsigned int>(bit_SHA)) != 0;
  return found;
}
#else
Processor ask() {
  return {};
}
#endif

}  // namespace

const Processor& processor() {
  static const Processor answer = ask();
  return answer;
}

}  // namespace keystrand
