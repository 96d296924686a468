# One interface target carries the language level, warnings and sanitizer
# flags for everything the project builds.
add_library(vork_flags INTERFACE)
target_compile_features(vork_flags INTERFACE cxx_std_20)
target_compile_options(vork_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wno-unused-parameter -Wno-missing-field-initializers)
if(VORK_WARNINGS_AS_ERRORS)
  target_compile_options(vork_flags INTERFACE -Werror)
endif()

if(VORK_SANITIZE)
  string(REPLACE "," ";" _vork_sanitizers "${VORK_SANITIZE}")
  foreach(_s IN LISTS _vork_sanitizers)
    target_compile_options(vork_flags INTERFACE -fsanitize=${_s})
    target_link_options(vork_flags INTERFACE -fsanitize=${_s})
  endforeach()
  target_compile_options(vork_flags INTERFACE -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(vork_flags INTERFACE -fno-sanitize-recover=all)
endif()
