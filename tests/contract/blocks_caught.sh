# The test of the blocks itself: of the documents here right.md passes, and each other one is caught.
set -eu
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
everything=$SCRATCH
status=0
for document in "$SOURCE"/tests/contract/documents/*.md; do
  name=$(basename "$document" .md)
  export SCRATCH="$everything/$name"
  result=passed
  sh "$SOURCE/tests/contract/blocks.sh" "$document" > "$everything/$name.log" 2>&1 || result=caught
  echo "$name: $result"
  case $name:$result in
    right:passed) ;;
    right:* | *:passed)
      cat "$everything/$name.log"
      status=1
      ;;
  esac
done
exit $status
