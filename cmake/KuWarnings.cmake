# Warnings for everything below this folder. They are directory options rather than a property of each target so that no
# test or example can forget them; a project that includes this one isn't touched, as they only go downwards.

set(warnings -Wall -Wextra -Wshadow)
if(KU_WERROR)
  list(APPEND warnings -Werror)
endif()

# The library's C++ sources use flexible array members, which -Wpedantic refuses; C clients are meant to be strict.
add_compile_options(
  "$<$<COMPILE_LANG_AND_ID:C,GNU,Clang,AppleClang>:${warnings};-Wpedantic;-Wstrict-prototypes>"
  "$<$<COMPILE_LANG_AND_ID:CXX,GNU,Clang,AppleClang>:${warnings}>")
unset(warnings)
