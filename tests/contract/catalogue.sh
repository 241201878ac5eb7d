# Every function of ku.h stands in the README's catalogue, and the README names none that isn't there.
set -eu
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
cd "$SCRATCH"
sed -n 's/^CS_API [^(]*[ *]\([A-Za-z_]*\)(.*/\1/p' "$SOURCE/sources/include/ku.h" | LC_ALL=C sort -u > declared
awk '/^## /{ catalogue = /What there is/ } catalogue' "$SOURCE/README.md" | grep -o '`[A-Za-z_]*`' | tr -d '`' |
  grep -E '^(cs_|CSINT$)' | LC_ALL=C sort -u > named
[ -s declared ] && [ -s named ]
diff -u --label "ku.h" --label "README.md" declared named
