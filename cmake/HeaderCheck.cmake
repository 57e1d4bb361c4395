# The target header_check compiles each header alone, so that none leans on what its users happen to include first.
file(GLOB_RECURSE headers RELATIVE ${CMAKE_SOURCE_DIR} CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/include/*.h
     ${CMAKE_SOURCE_DIR}/src/*.h)
set(stubs)
foreach(header IN LISTS headers)
  string(REGEX REPLACE "^(include|src)/" "" included ${header})
  set(stub ${CMAKE_BINARY_DIR}/header_check/${header}.cpp)
  file(CONFIGURE OUTPUT ${stub} CONTENT "#include \"${included}\"\n")
  list(APPEND stubs ${stub})
endforeach()
add_library(header_check OBJECT EXCLUDE_FROM_ALL ${stubs})
target_link_libraries(header_check PRIVATE zr_flags)
