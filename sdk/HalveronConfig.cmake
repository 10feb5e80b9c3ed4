# find_package(Halveron): the target Halveron::sdk and halveron_add_library.
if(NOT TARGET Halveron::sdk)
  add_library(Halveron::sdk INTERFACE IMPORTED)
  if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/halveron_module.h)
    set(halveron_headers ${CMAKE_CURRENT_LIST_DIR})
  else()
    get_filename_component(halveron_headers
      ${CMAKE_CURRENT_LIST_DIR}/../../../include/halveron ABSOLUTE)
  endif()
  set_target_properties(Halveron::sdk PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES ${halveron_headers}
    INTERFACE_COMPILE_FEATURES cxx_std_20
    # Sound must not depend on the compiler: no contraction into fused operations.
    INTERFACE_COMPILE_OPTIONS -ffp-contract=off)
endif()

# halveron_add_library(NAME SOURCE...): NAME.so and, beside it, the NAME.ini of the source folder, in
# the folder NAME of the build. That folder, or what is in it, goes to Halveron's Modules.x64.
function(halveron_add_library name)
  add_library(${name} MODULE ${ARGN})
  target_link_libraries(${name} PRIVATE Halveron::sdk)
  set_target_properties(${name} PROPERTIES
    PREFIX "" SUFFIX .so
    C_VISIBILITY_PRESET hidden CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/${name})
  # Symbols that are unique in a process would keep the library loaded for ever.
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
  # Without a type the compiler does not optimise.
  if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    target_compile_options(${name} PRIVATE -O2)
  endif()
  set(ini ${CMAKE_CURRENT_SOURCE_DIR}/${name}.ini)
  if(NOT EXISTS ${ini})
    message(FATAL_ERROR "${ini} is missing: it names the vendor and the modules")
  endif()
  configure_file(${ini} ${CMAKE_CURRENT_BINARY_DIR}/${name}/${name}.ini COPYONLY)
endfunction()
