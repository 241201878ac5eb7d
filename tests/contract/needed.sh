# libku.so.3 needs the C library (and at most the dynamic loader), and nothing else.
set -eu
"$READELF" -d "$LIBRARY" | grep -E '\((NEEDED|SONAME)\)' | sed 's/ *0x[0-9a-f]* *//'
status=0

soname=$("$READELF" -d "$LIBRARY" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
if [ "$soname" != "libku.so.${VERSION%%.*}" ]; then
  echo "the name of the library is '$soname'"
  status=1
fi
needed=$("$READELF" -d "$LIBRARY" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for name in $needed; do
  case $name in
    libc.so.*) libc=found ;;
    ld-linux*.so.*) ;;
    *) echo "$name must not be needed"
       status=1 ;;
  esac
done
if [ -z "${libc-}" ]; then
  echo "the C library isn't among the needed ones"
  status=1
fi
exit $status
