# Installs into an empty prefix and uses that copy alone.
#
# BUILD: what is installed. WORK: a folder of this test. LIBDIR, DOCDIR: where libraries and
# documentation go, below the prefix. TOOL: whether the tool is built. C, CXX: compilers.
file(REMOVE_RECURSE ${WORK})
set(PREFIX ${WORK}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX} --strip
  COMMAND_ERROR_IS_FATAL ANY)
# Moved as a whole, it works still.
file(RENAME ${PREFIX} ${WORK}/moved)
set(PREFIX ${WORK}/moved)
if(TOOL)
  execute_process(COMMAND ${PREFIX}/bin/qorldp --version COMMAND_ERROR_IS_FATAL ANY)
endif()
set(EXAMPLES ${PREFIX}/${DOCDIR}/examples)
include(${CMAKE_CURRENT_LIST_DIR}/use_installed.cmake)
