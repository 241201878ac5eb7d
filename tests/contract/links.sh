# The links between the documents lead to files that are there, and to headings of theirs.
set -eu
cd "$SOURCE"
status=0
for document in ./*.md docs/*.md examples/*.md; do
  for link in $(awk '/^```/ { fence = !fence } !fence' "$document" | grep -o '](\([^) ]*\))' | tr -d '()]'); do
    file=${link%%#*} heading=
    case $link in
      http*) continue ;;
      *'#'*) heading=${link#*#} ;;
    esac
    target=$(dirname "$document")/$file
    [ -n "$file" ] || target=$document
    if [ ! -e "$target" ]; then
      echo "$document: there is no $link"
      status=1
    elif [ -n "$heading" ] && ! sed -n 's/^##* //p' "$target" | tr 'A-Z ' 'a-z-' | tr -cd 'a-z0-9_\n-' |
        grep -qx -e "$heading"; then
      echo "$document: there is no heading for $link"
      status=1
    fi
    echo "$document -> $link"
  done
done
exit $status
