# The Debian packages: built by the preset "package" and listed.
set -eu
unset DESTDIR
for tool in dpkg-deb dpkg-shlibdeps; do
  if ! command -v $tool > /dev/null; then
    echo "skipped: $tool is missing"
    exit 0
  fi
done
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SOURCE"
"$CMAKE" --preset package -B "$SCRATCH/build" -G "$GENERATOR" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
  > "$SCRATCH/log" 2>&1 &&
  "$CMAKE" --build "$SCRATCH/build" --config Release >> "$SCRATCH/log" 2>&1 || { cat "$SCRATCH/log"; exit 1; }
cd "$SCRATCH/build"
"$CPACK" -C Release >> "$SCRATCH/log" 2>&1 || { cat "$SCRATCH/log"; exit 1; }
if grep -E 'CMake (Warning|Error)|CPackDeb: .*(warning|error)' "$SCRATCH/log"; then
  exit 1
fi

architecture=$(dpkg --print-architecture)
libdir=usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH 2> /dev/null || "$CC" -print-multiarch)
runtime=libku3_${VERSION}_$architecture.deb
development=libku-dev_${VERSION}_$architecture.deb
status=0

# holds <package> <file>...: these files and links, and no others
holds()
{
  package=$1
  shift
  printf '%s\n' "$@" | LC_ALL=C sort > "$SCRATCH/wanted"
  dpkg-deb -c "$package" | grep -v '^d' | sed 's|^.* \./||' | LC_ALL=C sort > "$SCRATCH/found"
  echo "$package"
  sed 's/^/  /' "$SCRATCH/found"
  diff -u "$SCRATCH/wanted" "$SCRATCH/found" || status=1
}

# field <package> <field> <pattern>
field()
{
  value=$(dpkg-deb -f "$1" "$2")
  echo "  $2: $value"
  printf '%s\n' "$value" | grep -Eqx -e "$3" || { echo "  this isn't $3"; status=1; }
}

holds "$runtime" \
  "$libdir/libku.so.3 -> libku.so.$VERSION" \
  "$libdir/libku.so.$VERSION"
field "$runtime" Package libku3
field "$runtime" Version "$VERSION"
field "$runtime" Depends 'libc6 \(>= [0-9.]+\)'
dpkg-deb -I "$runtime" shlibs | grep -qx "libku 3 libku3 (>= $VERSION)" || { echo "the shlibs file is wrong"; status=1; }

holds "$development" \
  usr/include/ku.h \
  usr/include/ku_run.h \
  usr/include/rcs.h \
  "$libdir/cmake/ku/ku-config-version.cmake" \
  "$libdir/cmake/ku/ku-config.cmake" \
  "$libdir/cmake/ku/ku-targets-release.cmake" \
  "$libdir/cmake/ku/ku-targets.cmake" \
  "$libdir/libku.a" \
  "$libdir/libku.so -> libku.so.3" \
  "$libdir/pkgconfig/ku.pc"
field "$development" Package libku-dev
field "$development" Depends "libku3 \(= $VERSION\), libc6-dev"

ls libku-"$VERSION"-*.tar.gz
exit $status
