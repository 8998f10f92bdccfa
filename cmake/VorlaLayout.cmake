# Run-time loaded modules live below <libdir>/vorla/ (installed) and <build>/lib/vorla/ (build
# tree); the host finds them relative to its own library. Sub-folders:
#   tl, fg, clserial, clprotocol/Linux64_x64
# On Windows the host's DLLs sit in bin/, so the module tree is bin/vorla/ and the CLProtocol
# drivers' platform folder is Win64_x64.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
if(WIN32)
  set(VORLA_MODULE_DIR ${CMAKE_INSTALL_BINDIR})
  set(VORLA_CLPROTOCOL_PLATFORM Win64_x64)
else()
  set(VORLA_MODULE_DIR ${CMAKE_INSTALL_LIBDIR})
  set(VORLA_CLPROTOCOL_PLATFORM Linux64_x64)
endif()

# A host library: shared, installed, exported as Vorla::<name>.
function(vorla_host_library name)
  cmake_parse_arguments(ARG "" "OUTPUT_NAME" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  add_library(Vorla::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${ARG_OUTPUT_NAME} INSTALL_RPATH "$ORIGIN"
                        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vorla>)
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  vorla_warnings(${name})
  install(TARGETS ${name} EXPORT VorlaTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vorla)
endfunction()

# A run-time loaded module (plug-in or driver) placed in a layout folder, build tree and install.
function(vorla_module name folder)
  cmake_parse_arguments(ARG "" "OUTPUT_NAME" "SOURCES;LIBS" ${ARGN})
  add_library(${name} MODULE ${ARG_SOURCES})
  # rpath back from <libdir>/vorla/<folder> to <libdir>
  string(REGEX REPLACE "[^/]+" ".." up "vorla/${folder}")
  set_target_properties(${name} PROPERTIES PREFIX ""
                        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${VORLA_MODULE_DIR}/vorla/${folder}
                        INSTALL_RPATH "$ORIGIN/${up}")
  if(ARG_OUTPUT_NAME)
    set_target_properties(${name} PROPERTIES OUTPUT_NAME ${ARG_OUTPUT_NAME})
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  vorla_warnings(${name})
  install(TARGETS ${name} LIBRARY DESTINATION ${VORLA_MODULE_DIR}/vorla/${folder})
endfunction()
