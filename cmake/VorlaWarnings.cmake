# Warnings are errors for everything we build ourselves.
function(vorla_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror -Wno-unused-parameter)
endfunction()
