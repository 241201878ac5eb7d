# The Debian packages: built by the preset "package" and listed.
set -eu
unset DESTDIR
for tool in dpkg-deb dpkg-shlibdeps file; do
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

libdir=usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH 2> /dev/null || "$CC" -print-multiarch)
runtime=libku3_${VERSION}_$(dpkg --print-architecture).deb
development=libku-dev_${VERSION}_$(dpkg --print-architecture).deb
ls libku-"$VERSION"-*.tar.gz

# The fields, then the files and links, and no others.
for package in "$runtime" "$development"; do
  dpkg-deb -f "$package" Package Version Depends | sed 's/(>= [0-9.]*)$/(>= N)/'
  dpkg-deb -c "$package" | grep -v '^d' | sed 's|^.* \./||' | LC_ALL=C sort
done > "$SCRATCH/found"
dpkg-deb -I "$runtime" shlibs >> "$SCRATCH/found"
cat "$SCRATCH/found"
diff -u - "$SCRATCH/found" << END
Package: libku3
Version: $VERSION
Depends: libc6 (>= N)
$libdir/libku.so.3 -> libku.so.$VERSION
$libdir/libku.so.$VERSION
Package: libku-dev
Version: $VERSION
Depends: libku3 (= $VERSION), libc6-dev
usr/include/ku.h
usr/include/ku_run.h
usr/include/rcs.h
$libdir/cmake/ku/ku-config-version.cmake
$libdir/cmake/ku/ku-config.cmake
$libdir/cmake/ku/ku-targets-release.cmake
$libdir/cmake/ku/ku-targets.cmake
$libdir/libku.a
$libdir/libku.so -> libku.so.3
$libdir/pkgconfig/ku.pc
libku 3 libku3 (>= $VERSION)
END
