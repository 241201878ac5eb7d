# The names that libku.so defines for others are those of exported.txt, neither more nor fewer. The archive, whose names
# land in the client's program, defines them too, and no other C names that aren't ours.
set -eu
export LC_ALL=C
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SCRATCH"
names_of() { "$NM" "$@" --defined-only | awk 'NF == 3 { sub(/@.*/, "", $3); print $3 }' | sort -u; }

names_of -D "$LIBRARY" > names
echo "libku.so: $(wc -l < names) exported names"
diff -u --label "tests/contract/exported.txt" --label "$LIBRARY" "$SOURCE/tests/contract/exported.txt" names
[ -n "$ARCHIVE" ] || exit 0
names_of -g "$ARCHIVE" | grep -v '^_Z' > archive
echo "libku.a: $(wc -l < archive) C names; names that don't belong there or are missing:"
{
  grep -Ev '^(cs_|rcs|_rcs|__rcs)[A-Za-z]|^CSINT$|^Ptrue$' archive || true
  comm -23 names archive
} | diff /dev/null -
