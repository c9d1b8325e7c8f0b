# What every target of the project is built with.
include(CheckCXXCompilerFlag)

# Flags shared by all code of the project, tests and tools included.
add_library(qor_flags INTERFACE)
target_compile_options(qor_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2
  -Wno-format-nonliteral -Wcast-align -Wcast-qual -Wdouble-promotion -Wundef -Wvla
  -Wredundant-decls
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wextra-semi>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op>
  $<$<BOOL:${QOR_WERROR}>:-Werror>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # Reports "text" + std::string, which overlaps nothing (GCC bug 105651).
  target_compile_options(qor_flags INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()
if(QOR_SANITIZE)
  # Frame pointers for readable stacks; a finding ends the run, so no report can be overlooked.
  set(qor_sanitize_flags -fsanitize=${QOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_compile_options(qor_flags INTERFACE ${qor_sanitize_flags})
  target_link_options(qor_flags INTERFACE ${qor_sanitize_flags})
endif()

# Flags of the code that goes into the libraries. Router software loads them into processes
# that may not carry a C++ runtime: no exceptions, no RTTI, no guards for local statics.
add_library(qor_library_flags INTERFACE)
target_link_libraries(qor_library_flags INTERFACE qor_flags)
target_compile_options(qor_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics -Wmissing-declarations>
  $<$<COMPILE_LANGUAGE:CXX>:-Wswitch-enum>)
# Calls from one public operation to another are the library's own affair: they need no detour over
# the symbol table, and may be inlined.
target_compile_options(qor_library_flags INTERFACE -fno-semantic-interposition)
# Neighbouring members are not to be stored or read as a pair: a read of another width then waits
# for the store.
target_compile_options(qor_library_flags INTERFACE -fno-tree-slp-vectorize)
# g++ clears records of some dozen octets by "rep stos", which takes longer to start than to clear.
set(qor_memset_flag -mmemset-strategy=unrolled_loop:128:noalign,libcall:-1:noalign)
check_cxx_compiler_flag(${qor_memset_flag} QOR_HAVE_MEMSET_STRATEGY)
if(QOR_HAVE_MEMSET_STRATEGY)
  target_compile_options(qor_library_flags INTERFACE ${qor_memset_flag})
endif()

# qor_add_library(NAME OUTPUT_NAME ALIAS MAP SOURCES...)
#
# Defines NAME (shared, soname .so.<major>) and NAME_static, with the aliases qor::ALIAS and
# qor::ALIAS_static. The shared one exports the symbols of the version script MAP and is linked as C
# so that it needs no C++ runtime.
function(qor_add_library name output alias map)
  add_library(${name}_objects OBJECT ${ARGN})
  target_link_libraries(${name}_objects PRIVATE qor_library_flags)
  target_include_directories(${name}_objects
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(${name}_objects PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    C_VISIBILITY_PRESET hidden
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)

  foreach(kind SHARED STATIC)
    set(target ${name})
    set(export ${alias})
    if(kind STREQUAL STATIC)
      string(APPEND target _static)
      string(APPEND export _static)
    endif()
    add_library(${target} ${kind} $<TARGET_OBJECTS:${name}_objects>)
    add_library(qor::${export} ALIAS ${target})
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:qor_flags>)
    if(kind STREQUAL SHARED)
      # CMake names the C++ runtime of some compilers although nothing of it is used.
      target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,-Bsymbolic-functions
        -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${map} -Wl,--no-undefined-version)
      set_property(TARGET ${target} PROPERTY LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${map})
    endif()
    target_include_directories(${target} PUBLIC
      $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/qor>)
    set_target_properties(${target} PROPERTIES
      OUTPUT_NAME ${output}
      EXPORT_NAME ${export}
      LINKER_LANGUAGE C
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR})
    set_property(GLOBAL APPEND PROPERTY qor_install_${alias} ${target})
  endforeach()
endfunction()
