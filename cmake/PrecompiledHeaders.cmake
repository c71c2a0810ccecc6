# The standard library's headers, compiled once for everything that ships and once, with GoogleTest's, for the tests:
# they cost more than what follows them. A compiler cache can do without, and does better alone.
if(CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)
endif()

# precompiled_headers(NAME HEADERS...): NAME is what targets built with the same options then reuse them from.
function(precompiled_headers name)
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  target_precompile_headers(${name} PRIVATE ${ARGN})
  target_link_libraries(${name} PRIVATE hearthix_options)
endfunction()

# reuse_headers(NAME FOLDERS...): all targets in these folders and below them reuse NAME's headers.
function(reuse_headers name)
  foreach(folder ${ARGN})
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target ${targets})
      get_target_property(type ${target} TYPE)
      if(type MATCHES "LIBRARY|EXECUTABLE")
        target_precompile_headers(${target} REUSE_FROM ${name})
      endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    reuse_headers(${name} ${folders})
  endforeach()
endfunction()
