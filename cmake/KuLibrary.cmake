# ku_add_library(<target> SHARED|STATIC): the library libku in one of its two forms, with the alias ku::<target>.
#
# The finished library needs the C library alone: it is compiled without exceptions and RTTI, and linked as C so that
# no C++ run-time library comes in. The default locator captures stack frames, which asks for unwind tables.

set(KU_LTO_WORKS OFF)
if(KU_LTO AND NOT KU_SANITIZE AND NOT KU_COVERAGE)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT KU_LTO_WORKS LANGUAGES C CXX)
  if(NOT KU_LTO_WORKS)
    message(STATUS "Left out link-time optimisation, which this toolchain can't do (clang wants llvm-ar and its linker plug-in)")
  endif()
endif()

# CMake would name the C++ run-time library in a C link of C++ sources. Left out, a use of it fails at the link.
set(CMAKE_CXX_IMPLICIT_LINK_LIBRARIES "")

function(ku_add_library target kind)
  list(TRANSFORM KU_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
  add_library(${target} ${kind} ${KU_SOURCES})
  add_library(ku::${target} ALIAS ${target})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/sources/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_compile_options(${target} PRIVATE
    -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-semantic-interposition $<$<CXX_COMPILER_ID:GNU>:-fno-partial-inlining>
    -fasynchronous-unwind-tables)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ku
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    LINKER_LANGUAGE C
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    INTERPROCEDURAL_OPTIMIZATION OFF)

  if(kind STREQUAL "SHARED")
    if(NOT APPLE)
      target_link_options(${target} PRIVATE -Wl,-Bsymbolic-functions)
      if(NOT KU_SANITIZE) # the sanitizers' own functions come with the program
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
      endif()
    endif()
    # The static archive stays plain native code, for any linker.
    if(KU_LTO_WORKS)
      set_target_properties(${target} PROPERTIES
        INTERPROCEDURAL_OPTIMIZATION_RELEASE ON
        INTERPROCEDURAL_OPTIMIZATION_RELWITHDEBINFO ON
        INTERPROCEDURAL_OPTIMIZATION_MINSIZEREL ON)
    endif()
  endif()
endfunction()
