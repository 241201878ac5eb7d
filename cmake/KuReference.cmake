# The target docs: a reference of the interface in HTML, made from ku.h where Doxygen is installed. A warning is an error.

find_package(Doxygen 1.9.4 QUIET)
find_program(KU_AWK awk)
if(DOXYGEN_FOUND AND KU_AWK)
  set(KU_REFERENCE_DIR ${PROJECT_BINARY_DIR}/docs)
  configure_file(${PROJECT_SOURCE_DIR}/docs/reference/Doxyfile.in ${KU_REFERENCE_DIR}/Doxyfile @ONLY)
  add_custom_target(docs
    COMMAND ${DOXYGEN_EXECUTABLE} ${KU_REFERENCE_DIR}/Doxyfile
    COMMAND ${CMAKE_COMMAND} -E echo "${KU_REFERENCE_DIR}/html/index.html"
    COMMENT "Making the reference from ku.h"
    VERBATIM)
endif()
