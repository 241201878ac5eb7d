# ku.h and ku_run.h are clean C99, C11, C++17 and C++20; rcs.h is C++20, and all may be included twice and in any order.
set -eu
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SCRATCH"
printf '#include "ku_run.h"\n#include "ku.h"\n#include "ku_run.h"\nint unused_name_of_this_file;\n' > ku.c
cp ku.c ku.cpp
printf '#include "rcs.h"\n#include "ku.h"\n#include "rcs.h"\nint unused_name_of_this_file;\n' > rcs.cpp
strict="-Wall -Wextra -Werror -fsyntax-only -I$SOURCE/sources/include"
posix=-D_POSIX_C_SOURCE=200809L

check() { echo "$*"; "$@" $strict; }

check "$CC" $posix -std=c99 -pedantic -Wstrict-prototypes -Wc++-compat ku.c
check "$CC" $posix -std=c11 -pedantic -Wstrict-prototypes -Wc++-compat ku.c
check "$CXX" -std=c++17 -pedantic ku.cpp
check "$CXX" -std=c++20 -pedantic ku.cpp
check "$CXX" -std=c++20 -Wshadow rcs.cpp
