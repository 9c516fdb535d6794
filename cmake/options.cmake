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

# Kernels are optimised in every build but plain Debug ones: their loops count on the vectoriser. Not under
# sanitizers, where that costs minutes of compiling. Loops begin with a cache line: a short one that lies
# across two takes up to twice the time.
set(QVIMAGE_KERNEL_OPTIONS "")
if(NOT QVIMAGE_SANITIZE AND NOT QVIMAGE_BUILD_FUZZ)
  set(QVIMAGE_KERNEL_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-O3;-falign-loops=64>")
endif()
