# Installs into an empty prefix and builds and runs programs against that copy alone: with
# find_package and, by hand, with pkg-config.
file(REMOVE_RECURSE ${PREFIX} ${PREFIX}-build)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX})
if(TOOL)
  run(${PREFIX}/bin/qorldp --version)
endif()

run(${CMAKE_CTEST_COMMAND} --build-and-test ${CONSUMER} ${PREFIX}-build
  --build-generator Ninja
  --build-options -DCMAKE_PREFIX_PATH=${PREFIX} -DEXAMPLES=${EXAMPLES}
    -DCMAKE_C_COMPILER=${C} -DCMAKE_CXX_COMPILER=${CXX}
  --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure --no-tests=error)

# A C program needs no C++ runtime, with the static libraries either.
execute_process(COMMAND readelf -d ${PREFIX}-build/c_static OUTPUT_VARIABLE loaded
  COMMAND_ERROR_IS_FATAL ANY)
if(NOT loaded MATCHES "libc\\.so" OR loaded MATCHES "libstdc\\+\\+")
  message(FATAL_ERROR "c_static loads:\n${loaded}")
endif()

set(ENV{PKG_CONFIG_LIBDIR} ${PREFIX}/${LIBDIR}/pkgconfig)
function(pkg_config output)
  execute_process(COMMAND pkg-config ${ARGN} OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  set(${output} ${flags} PARENT_SCOPE)
endfunction()
foreach(kind shared static)
  set(options "")
  if(kind STREQUAL static)
    set(options -static)
  endif()
  pkg_config(flags --cflags --libs qor qor-host)
  run(${C} -std=c11 ${options} -o ${PREFIX}/program-${kind} ${EXAMPLES}/decode_encode.c
    ${flags} -Wl,-rpath,${PREFIX}/${LIBDIR})
  run(${PREFIX}/program-${kind})
endforeach()
