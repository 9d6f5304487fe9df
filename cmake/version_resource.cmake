# vistrame_add_version(TARGET FILE_NAME DESCRIPTION): puts the project's version, and what the file is, into a program or
# DLL as Windows shows them.
function(vistrame_add_version target file_name description)
  get_target_property(type ${target} TYPE)
  set(file_type VFT_DLL)
  if(type STREQUAL EXECUTABLE)
    set(file_type VFT_APP)
  endif()
  get_filename_component(internal_name ${file_name} NAME_WE)
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
  add_library(${target}_version OBJECT ${resource})
  # The folder's options are the C++ compiler's; the resource compiler knows none of them.
  set_target_properties(${target}_version PROPERTIES COMPILE_OPTIONS "")
  target_link_libraries(${target} PRIVATE ${target}_version)
endfunction()
