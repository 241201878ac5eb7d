# programs.sh <file>: compiles and runs the whole programs shown in a header or a Markdown file and compares what they print
# with what the text says.
set -eu
file=$1
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
case $file in
  *.h) kind=header ;;
  *) kind=markdown ;;
esac
awk -v kind=$kind -v out="$SCRATCH" -f "$SOURCE/tests/contract/programs.awk" "$file" > "$SCRATCH/list"

cd "$SCRATCH"
sanitize=${SANITIZE:+-fsanitize=$SANITIZE}
directory=$(dirname "$LIBRARY")
status=0
while read -r number language; do
  echo "program $number of $(basename "$file") ($language)"
  case $language in
    c) compiler="$CC -std=c99 -pedantic -Wall -Wextra -Werror" linker=$CC ;;
    cpp) compiler="$CXX -std=c++20 -Wall -Wextra -Werror" linker=$CXX ;;
  esac
  $compiler $sanitize -I"$SOURCE/sources/include" -c "$number.$language"
  [ -z "$sanitize" ] || linker=$CXX # the sanitizers' C++ part, which the library refers to, comes with the program
  $linker $sanitize "$number.o" -o "$number" -L"$directory" -lku -Wl,-rpath,"$directory"
  "./$number" > "$number.printed" || { echo "it ends with status $?"; status=1; }
  diff -u --label "the text" --label "the program" "$number.expected" "$number.printed" || status=1
done < list
exit $status
