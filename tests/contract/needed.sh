# libku.so.3 needs the C library (and at most the dynamic loader), and nothing else.
set -eu
entries() { "$READELF" -d "$LIBRARY" | sed -n "s/.*($1).*\[\(.*\)\]/\1/p"; }
# shellcheck disable=SC2046
echo "$(entries SONAME) needs" $(entries NEEDED)
[ "$(entries SONAME)" = "libku.so.${VERSION%%.*}" ]
entries NEEDED | grep -q '^libc\.so\.'
[ -z "$(entries NEEDED | grep -v -e '^libc\.so\.' -e '^ld-linux.*\.so\.')" ]
