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

for language in C CXX; do
  "$CMAKE" -S "$client" -B cmake-$language -G "$GENERATOR" -DCLIENT_LANGUAGE=$language -DCMAKE_BUILD_TYPE="$CONFIG" \
    -DCMAKE_PREFIX_PATH="$SCRATCH/installed" -DCMAKE_RUNTIME_OUTPUT_DIRECTORY="$SCRATCH/cmake-$language/\$<0:>" \
    > cmake-$language.log 2>&1 &&
    "$CMAKE" --build cmake-$language --config "$CONFIG" >> cmake-$language.log 2>&1 ||
    { cat cmake-$language.log; exit 1; }
done

export PKG_CONFIG_PATH="$SCRATCH/installed/$LIBDIR/pkgconfig"
expects="-DCLIENT_EXPECTS=\"$(pkg-config --modversion ku)\""
[ "$(pkg-config --modversion ku)" = "$VERSION" ]
warnings="-pedantic -Wall -Wextra -Werror"
flags=$(pkg-config --cflags ku)
shared=$(pkg-config --libs ku)
static="$(pkg-config --static --libs-only-L ku) -Wl,-Bstatic $(pkg-config --static --libs-only-l ku) -Wl,-Bdynamic"
mkdir pkg-config
$CC -std=c99 $warnings "$expects" $flags "$client/client.c" -o pkg-config/c_shared $shared
$CC -std=c99 $warnings "$expects" $flags "$client/client.c" -o pkg-config/c_static $static
$CXX -std=c++17 $warnings "$expects" $flags "$client/client.cpp" -o pkg-config/cxx_shared $shared
$CXX -std=c++17 $warnings "$expects" $flags "$client/client.cpp" -o pkg-config/cxx_static $static

# Each program <language>_<form> answers rightly, needs libku.so.3 or doesn't, and the C++ run-time library in C++ alone.
for each in cmake-C/c cmake-CXX/c cmake-CXX/cxx pkg-config/c pkg-config/cxx; do
  for program in ${each}_shared ${each}_static; do
    LD_LIBRARY_PATH=$SCRATCH/installed/$LIBDIR "$program" > printed
    diff -u expected printed
    needed=$("$READELF" -d "$program" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | tr '\n' ' ')
    echo "$program needs $needed"
    case $program-$needed in
      */c_*libstdc++*) echo "it is linked as C++"; exit 1 ;;
      *_shared-*libku.so.3*) ;;
      *_shared-* | *_static-*libku*) echo "it is linked in the wrong form"; exit 1 ;;
    esac
  done
done
