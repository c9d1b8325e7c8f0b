# Builds the library as a part of another project: by add_subdirectory, and by FetchContent from an
# archive of what that takes.
#
# SOURCE: the root of the tree. WORK: a folder of this test. C, CXX: compilers.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} -E tar czf ${WORK}/qor.tar.gz
  CMakeLists.txt cmake include src
  WORKING_DIRECTORY ${SOURCE} COMMAND_ERROR_IS_FATAL ANY)
foreach(way folder archive)
  set(qor ${SOURCE})
  if(way STREQUAL archive)
    set(qor ${WORK}/qor.tar.gz)
  endif()
  execute_process(COMMAND ${CMAKE_CTEST_COMMAND}
    --build-and-test ${CMAKE_CURRENT_LIST_DIR}/consumer ${WORK}/${way} --build-generator Ninja
    --build-options -DQOR=${qor} -DEXAMPLES=${SOURCE}/examples
      -DCMAKE_C_COMPILER=${C} -DCMAKE_CXX_COMPILER=${CXX}
    --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure --no-tests=error
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
