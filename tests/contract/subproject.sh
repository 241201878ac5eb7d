# The library as a folder of somebody's project.
set -eu
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SCRATCH"
"$CMAKE" -S "$SOURCE/tests/contract/subproject" -B build -G "$GENERATOR" -DKU_SOURCE="$SOURCE" -DKU_VERSION="$VERSION" \
  > log 2>&1 && "$CMAKE" --build build --config Debug >> log 2>&1 || { cat log; exit 1; }
grep -q 'CMake Warning' log && { cat log; exit 1; }
cd build
"${CMAKE%cmake}ctest" -C Debug --no-tests=error --output-on-failure
