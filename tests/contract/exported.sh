# The names that libku.so defines for others are those of exported.txt, neither more nor fewer. The archive, whose names
# land in the client's program, defines no other C names either.
set -eu
export LC_ALL=C
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
list=$SOURCE/tests/contract/exported.txt
allowed='^(cs_|rcs|_rcs|__rcs)[A-Za-z]|^CSINT$|^Ptrue$'
status=0

names_of() { "$NM" "$@" --defined-only | awk 'NF == 3 { sub(/@.*/, "", $3); print $3 }' | sort -u; }

names_of -D "$LIBRARY" > "$SCRATCH/names"
echo "libku.so: $(wc -l < "$SCRATCH/names") exported names"
if ! diff -u --label "tests/contract/exported.txt" --label "$LIBRARY" "$list" "$SCRATCH/names"; then
  echo "the exported names differ from the list"
  status=1
fi
if grep -Ev "$allowed" "$SCRATCH/names"; then
  echo "the names above must not leave the library"
  status=1
fi

if [ -n "$ARCHIVE" ]; then
  names_of -g "$ARCHIVE" | grep -v '^_Z' > "$SCRATCH/archive"
  echo "libku.a: $(wc -l < "$SCRATCH/archive") C names"
  if grep -Ev "$allowed" "$SCRATCH/archive"; then
    echo "the names above must not be global in the archive"
    status=1
  fi
  if ! comm -23 "$SCRATCH/names" "$SCRATCH/archive" | diff /dev/null -; then
    echo "the names above are missing in the archive"
    status=1
  fi
fi
exit $status
