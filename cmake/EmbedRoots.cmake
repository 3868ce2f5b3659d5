# cmake -DROOTS=<folder> -DTABLE=<file.cpp> -P EmbedRoots.cmake: one string literal for each PEM file, by file name.
file(GLOB files "${ROOTS}/*.pem")
list(SORT files)
set(literals "")
foreach(path IN LISTS files)
  file(READ ${path} text)
  string(APPEND literals "    R\"PEM(${text})PEM\",\n")
endforeach()
file(WRITE ${TABLE} "// Made from data/roots by cmake/EmbedRoots.cmake.
#include \"net/EmbeddedRoots.h\"

namespace keystrand {

namespace {

constexpr const char* kRoots[] = {
${literals}};

}  // namespace

std::span<const char* const> embeddedRoots() { return kRoots; }

}  // namespace keystrand
")
