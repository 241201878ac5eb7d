# The library, installed and then moved elsewhere, is found, linked and run by clients in C99 and in C++, by way of CMake and
# of pkg-config, shared and static.
set -eu
unset DESTDIR PKG_CONFIG_SYSROOT_DIR LD_LIBRARY_PATH
if ! command -v pkg-config > /dev/null; then
  echo "skipped: pkg-config is missing"
  exit 0
fi
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SCRATCH"
"$CMAKE" --install "$BUILD" --config "$CONFIG" --prefix "$SCRATCH/first" > install.log
mv first installed
(cd installed && find . ! -type d | LC_ALL=C sort)
if grep -rIlF -e "$SCRATCH" -e "$SOURCE" installed; then
  echo "the files above name a folder of the build"
  exit 1
fi
printf '1\n3\n2\n4\n' > expected
client=$SOURCE/tests/contract/client

# run <program> shared|static: it answers rightly, and needs libku.so.3 or doesn't.
run()
{
  echo "$1"
  LD_LIBRARY_PATH=$SCRATCH/installed/$LIBDIR "$1" > printed
  diff -u expected printed
  if "$READELF" -d "$1" | grep -q 'NEEDED.*\[libku\.so\.3\]'; then
    linked=shared
  else
    linked=static
  fi
  [ $linked = "$2" ] || { echo "it is linked $linked"; exit 1; }
}

for language in C CXX; do
  "$CMAKE" -S "$client" -B cmake-$language -G "$GENERATOR" -DCLIENT_LANGUAGE=$language \
    -DCMAKE_BUILD_TYPE="$CONFIG" -DCMAKE_PREFIX_PATH="$SCRATCH/installed" > cmake-$language.log 2>&1 &&
    "$CMAKE" --build cmake-$language --config "$CONFIG" >> cmake-$language.log 2>&1 ||
    { cat cmake-$language.log; exit 1; }
  for kind in shared static; do
    run "$(find cmake-$language -name client_$kind -type f)" $kind
  done
done

export PKG_CONFIG_PATH="$SCRATCH/installed/$LIBDIR/pkgconfig"
expects="-DCLIENT_EXPECTS=\"$(pkg-config --modversion ku)\""
[ "$(pkg-config --modversion ku)" = "$VERSION" ]
warnings="-pedantic -Wall -Wextra -Werror"
flags=$(pkg-config --cflags ku)
shared=$(pkg-config --libs ku)
static="$(pkg-config --static --libs-only-L ku) -Wl,-Bstatic $(pkg-config --static --libs-only-l ku) -Wl,-Bdynamic"
$CC -std=c99 $warnings "$expects" $flags "$client/client.c" -o c-shared $shared
$CC -std=c99 $warnings "$expects" $flags "$client/client.c" -o c-static $static
$CXX -std=c++17 $warnings "$expects" $flags "$client/client.cpp" -o cxx-shared $shared
$CXX -std=c++17 $warnings "$expects" $flags "$client/client.cpp" -o cxx-static $static
run ./c-shared shared
run ./c-static static
run ./cxx-shared shared
run ./cxx-static static
