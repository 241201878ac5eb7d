# ku.h is clean C99, C11, C++17 and C++20; rcs.h is C++20, and both may be included twice and in any order.
set -eu
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SCRATCH"
printf '#include "ku.h"\n#include "ku.h"\nint unused_name_of_this_file;\n' > ku.c
cp ku.c ku.cpp
printf '#include "rcs.h"\n#include "ku.h"\n#include "rcs.h"\nint unused_name_of_this_file;\n' > rcs.cpp
strict="-Wall -Wextra -Werror -fsyntax-only -I$SOURCE/sources/include"

check() { echo "$*"; "$@" $strict; }

check "$CC" -std=c99 -pedantic -Wstrict-prototypes -Wc++-compat ku.c
check "$CC" -std=c11 -pedantic -Wstrict-prototypes -Wc++-compat ku.c
check "$CXX" -std=c++17 -pedantic ku.cpp
check "$CXX" -std=c++20 -pedantic ku.cpp
check "$CXX" -std=c++20 -Wshadow rcs.cpp
