# keystrand_compile(target): the language level, the warnings and the sanitizers of every target of this tree. Whether
# warnings are errors is the caller's choice, by CMAKE_COMPILE_WARNING_AS_ERROR; the scripts of this tree say so.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()

function(keystrand_compile target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                        VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                         -Wnon-virtual-dtor -Wold-style-cast)
  # When it optimises most g++ 12 sees overlapping copies inside std::string where there are none (its bug 105329).
  target_compile_options(${target} PRIVATE $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>)
  if(KEYSTRAND_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KEYSTRAND_SANITIZE} -fno-omit-frame-pointer
                           -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${KEYSTRAND_SANITIZE})
  endif()
endfunction()
