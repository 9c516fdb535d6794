# Can this compiler make several versions of an exported function, one a processor level, under one name?
# Two source files, since some compilers export such a function under another name, which only callers in
# other files notice. Sanitizers would run before the loader has chosen a version: none there.
include(CheckCXXSourceCompiles)
if(QVIMAGE_SANITIZE OR QVIMAGE_BUILD_FUZZ OR NOT CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set(QVIM_HAVE_CLONES FALSE)
elseif(NOT DEFINED QVIM_HAVE_CLONES)
  set(probe ${PROJECT_BINARY_DIR}/clones_probe)
  file(WRITE ${probe}/callee.cpp "
    extern \"C\" __attribute__((target_clones(\"default\", \"arch=x86-64-v3\", \"arch=x86-64-v4\")))
    int probe(int a) { return a + 1; }")
  file(WRITE ${probe}/caller.cpp "
    extern \"C\" int probe(int a); int main() { return probe(-1); }")
  try_compile(works ${probe}/build SOURCES ${probe}/callee.cpp ${probe}/caller.cpp)
  set(QVIM_HAVE_CLONES ${works} CACHE INTERNAL "Kernels in one version a processor level")
endif()
message(STATUS "Kernels for x86-64-v3 and x86-64-v4 beside the baseline: ${QVIM_HAVE_CLONES}")
