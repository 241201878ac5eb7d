# Sanitizers (KU_SANITIZE) and coverage (KU_COVERAGE), for everything below this folder alike: the libraries, the tests
# and the examples have to agree on them.

if(KU_SANITIZE)
  # An error ends the program, so that no test passes over it.
  add_compile_options(-fsanitize=${KU_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KU_SANITIZE})
endif()

if(KU_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
