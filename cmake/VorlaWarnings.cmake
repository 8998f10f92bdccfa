# Warnings are errors for everything we build ourselves. Under clang the thread-safety analysis
# checks every annotated lock (<platform/Mutex.h>), the lock order included (-beta).
function(vorla_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror -Wno-unused-parameter)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(${target} PRIVATE -Wthread-safety -Wthread-safety-beta)
  endif()
endfunction()
