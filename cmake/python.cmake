# A Python that has some modules, which on Debian is the system's own; empty where there is none.
function(qvimage_find_python found)
  list(JOIN ARGN ", " modules)
  set(${found} "" PARENT_SCOPE)
  foreach(candidate /usr/bin/python3 python3)
    execute_process(COMMAND ${candidate} -c "import ${modules}" RESULT_VARIABLE missing OUTPUT_QUIET
      ERROR_QUIET)
    if(missing EQUAL 0)
      set(${found} ${candidate} PARENT_SCOPE)
      return()
    endif()
  endforeach()
endfunction()
