# The shared library exports the names listed in the folders' exports.txt and in the kernel families' member
# lists, nothing else. Each folder says which of its lists count.
define_property(GLOBAL PROPERTY QVIMAGE_EXPORTS BRIEF_DOCS "Exported names" FULL_DOCS "Exported names")

# Plain list: a name a line, # begins a comment.
function(qvimage_export file)
  get_filename_component(path ${file} ABSOLUTE)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  file(STRINGS ${path} names REGEX "^[A-Za-z_]")
  set_property(GLOBAL APPEND PROPERTY QVIMAGE_EXPORTS ${names})
endfunction()

# Member list of a kernel family: MACRO(name, ...) a line; prefix is what the macro's first argument lacks.
function(qvimage_export_members file)
  get_filename_component(path ${file} ABSOLUTE)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${path})
  file(STRINGS ${path} lines REGEX "^[A-Z_0-9]+\\(")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[A-Z_0-9]+\\( *([A-Za-z_0-9]+).*" "\\1" name "${line}")
    set_property(GLOBAL APPEND PROPERTY QVIMAGE_EXPORTS ${ARGN}${name})
  endforeach()
endfunction()

function(qvimage_write_exports map)
  get_property(names GLOBAL PROPERTY QVIMAGE_EXPORTS)
  list(SORT names)
  list(JOIN names "\n" lines)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/exports.txt CONTENT "${lines}\n")
  list(JOIN names ";\n    " lines)
  set(node QVIMAGE_${PROJECT_VERSION_MAJOR})  # the version that programs ask for when they are loaded
  file(CONFIGURE OUTPUT ${map} CONTENT "${node} {\n  global:\n    ${lines};\n  local:\n    *;\n};\n")
endfunction()
