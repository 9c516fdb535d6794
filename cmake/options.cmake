# Warnings, sanitizers, and floating-point results that are the same bits on every processor.
function(qvimage_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -ffp-contract=off)
  if(QVIMAGE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(QVIMAGE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${QVIMAGE_SANITIZE} -fno-sanitize-recover=all
      -fno-omit-frame-pointer -g)
    target_link_options(${target} PUBLIC -fsanitize=${QVIMAGE_SANITIZE})
  endif()
endfunction()
