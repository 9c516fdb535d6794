# Kernels are compiled once for each processor level; the library chooses when it is loaded
# (kernels/levels.cpp). The first level is what every processor of the architecture has. QVIM_LEVELS names
# them, lowest first, and QVIM_LEVEL_OPTIONS_<level> is what the compiler is told: kernels/processor.hpp asks
# the processor for the same.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set(QVIM_LEVELS sse2 avx2 avx512 avx512vbmi)
  set(QVIM_LEVEL_OPTIONS_avx2 -march=x86-64-v3)
  set(QVIM_LEVEL_OPTIONS_avx512 -march=x86-64-v4)
  set(QVIM_LEVEL_OPTIONS_avx512vbmi -march=x86-64-v4 -mavx512vbmi -mavx512vbmi2 -mavx512vnni -mgfni)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  set(QVIM_LEVELS neon)
else()
  set(QVIM_LEVELS plain)
endif()

# Adds sources to the library in one version a level: small files that name the level and include the source.
# Lower levels come first, so that what the compiler leaves out of line of the standard library's templates is
# linked from a file that every processor runs.
function(qvimage_level_sources target)  # and the sources, relative to the current folder
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  foreach(level IN LISTS QVIM_LEVELS)
    foreach(source IN LISTS ARGN)
      set(version ${CMAKE_CURRENT_BINARY_DIR}/${level}/${source})
      file(CONFIGURE OUTPUT ${version} CONTENT
        "#define QVIM_LEVEL ${level}\n#include \"${folder}/${source}\"\n")
      get_source_file_property(options ${source} TARGET_DIRECTORY ${target} COMPILE_OPTIONS)
      if(NOT options)
        set(options)
      endif()
      set_source_files_properties(${version} TARGET_DIRECTORY ${target} PROPERTIES
        COMPILE_OPTIONS "${options};${QVIM_LEVEL_OPTIONS_${level}}")
      target_sources(${target} PRIVATE ${version})
    endforeach()
  endforeach()
endfunction()
