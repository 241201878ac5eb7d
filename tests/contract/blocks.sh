# blocks.sh <file>: compiles the code blocks of a Markdown file (blocks.awk says what they are) or of a header's first
# comment into one executable, runs each in a process of its own and compares what it prints with what the text says.
set -eu
file=$1
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
contract=$SOURCE/tests/contract
case $file in
  *.h) awk -f "$contract/header.awk" "$file" > "$SCRATCH/text.md" ;;
  *) cp "$file" "$SCRATCH/text.md" ;;
esac
awk -v document="$(basename "$file")" -v out="$SCRATCH" -v frames="$contract/frames" -f "$contract/blocks.awk" \
  "$SCRATCH/text.md" > "$SCRATCH/list"

cd "$SCRATCH"
sanitize=${SANITIZE:+-fsanitize=$SANITIZE}
directory=$(dirname "$LIBRARY")
strict="-O1 -Wall -Wextra -Wshadow -Wno-unused-parameter -Werror $sanitize -I$SOURCE/sources/include"
{
  echo '#include <stdlib.h>'
  sed 's/^\([0-9]*\) .*/int block_\1(void);/' list
  echo 'int main(int argc, char** argv) { switch (argc > 1 ? atoi(argv[1]) : 0) {'
  sed 's/^\([0-9]*\) .*/case \1: return block_\1();/' list
  echo 'default: return 2; } }'
} > blocks.c
linker=$CC kit=
# A block may use the tests' kit, of which the build has the objects.
if grep -q '^#include "bruteforce.h"' [0-9]*.*; then
  strict="$strict -I$SOURCE/tests/support -I$SOURCE/tests/random"
  kit="$KIT $COVERAGE -lpthread"
fi
# shellcheck disable=SC2086
$CC -std=c99 -pedantic $strict -c ./*.c
if ls [0-9]*.cpp > /dev/null 2>&1; then
  # shellcheck disable=SC2086
  $CXX -std=c++20 $strict -c [0-9]*.cpp
  linker=$CXX
fi
[ -z "$sanitize" ] || linker=$CXX # the sanitizers' C++ part, which the library refers to, comes with the program
# shellcheck disable=SC2086
$linker $sanitize ./*.o $kit -o blocks -L"$directory" -lku -Wl,-rpath,"$directory"

status=0
while read -r number language line; do
  echo "block $number ($language) at line $line of $(basename "$file")"
  timeout 60 ./blocks "$number" > printed < /dev/null || { echo "it ends with status $?"; status=1; }
  diff -u --label "the text" --label "the program" "$number.expected" printed || status=1
done < list
exit $status
