# Builds and runs the examples against an installed copy alone, as a user would.
#
#   cmake -D PREFIX=DIR -D LIBDIR=DIR -D EXAMPLES=DIR -D WORK=DIR -D C=COMPILER -D CXX=COMPILER
#         -P use_installed.cmake
#
# PREFIX: where the copy is. LIBDIR: its libraries, below PREFIX. EXAMPLES: the installed examples.
# WORK: an empty or missing folder. All of them absolute but LIBDIR.

# Another copy that the environment leads to must not stand in for this one.
foreach(variable CMAKE_PREFIX_PATH CMAKE_LIBRARY_PATH CMAKE_INCLUDE_PATH PKG_CONFIG_PATH qor_DIR qor_ROOT
    CPATH C_INCLUDE_PATH CPLUS_INCLUDE_PATH LIBRARY_PATH
    LD_LIBRARY_PATH)
  unset(ENV{${variable}})
endforeach()
set(this_copy -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)

# By CMake: C and C++ programs, and one that brings its platform and links qor::qor alone.
function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(link "" _static)
  run(${CMAKE_CTEST_COMMAND} --build-and-test ${EXAMPLES} ${WORK}/cmake${link}
    --build-generator Ninja
    --build-options ${this_copy}
      -DQOR_EXAMPLES_LINK=${link} -DCMAKE_C_COMPILER=${C} -DCMAKE_CXX_COMPILER=${CXX}
    --test-command ${CMAKE_CTEST_COMMAND} --output-on-failure --no-tests=error)
  file(STRINGS ${WORK}/cmake${link}/CMakeCache.txt found REGEX "^qor_DIR:")
  if(NOT found STREQUAL "qor_DIR:PATH=${PREFIX}/${LIBDIR}/cmake/qor")
    message(FATAL_ERROR "not the copy below ${PREFIX}: ${found}")
  endif()
endforeach()

# A C program needs no C++ runtime, with the static libraries either.
execute_process(COMMAND readelf -d ${WORK}/cmake_static/decode_encode_c OUTPUT_VARIABLE loaded
  COMMAND_ERROR_IS_FATAL ANY)
if(NOT loaded MATCHES "libc\\.so" OR loaded MATCHES "libstdc\\+\\+|libqor")
  message(FATAL_ERROR "the static decode_encode_c loads:\n${loaded}")
endif()

# A component that there is not is refused.
file(WRITE ${WORK}/unknown/CMakeLists.txt "cmake_minimum_required(VERSION 3.25)
project(unknown LANGUAGES C)
find_package(qor 1.0 CONFIG QUIET COMPONENTS qor nothing)
if(qor_FOUND OR NOT TARGET qor::qor OR TARGET qor::host)
  message(FATAL_ERROR \"found \${qor_FOUND}\")
endif()\n")
run(${CMAKE_COMMAND} -S ${WORK}/unknown -B ${WORK}/unknown/build -G Ninja
  ${this_copy} -DCMAKE_C_COMPILER=${C})

# By pkg-config: with the default platform, shared and static, and without it.
set(ENV{PKG_CONFIG_LIBDIR} ${PREFIX}/${LIBDIR}/pkgconfig)
function(build_and_run name source modules)
  execute_process(COMMAND pkg-config --cflags --libs ${modules} OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${C} -std=c11 ${ARGN} -o ${WORK}/${name} ${EXAMPLES}/${source} ${flags}
    -Wl,-rpath,${PREFIX}/${LIBDIR})
  run(${WORK}/${name})
endfunction()
build_and_run(shared decode_encode.c "qor;qor-host")
build_and_run(static decode_encode.c "qor;qor-host" -static)
build_and_run(own_platform own_platform.c qor)
