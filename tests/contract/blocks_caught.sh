# The test of the blocks itself: this document passes, and each edit of it is caught.
set -eu
rm -rf "$SCRATCH"
mkdir -p "$SCRATCH"
everything=$SCRATCH
cat > "$everything/document.md" << 'END'
Told in pieces, in C++; and a fragment.

<!-- piece -->
```cpp
#include <ku.h>

static int answer() { return 42; }
```

```cpp
int main()
{
  cs_init();
  cs_printf("%D\n", CSINT(answer()));
  cs_end();
  return 0;
}
```

It prints: 42

<!-- frame: solver -->
```c
cs_printf("%D\n", cs_createCSint(1, 3));
```

It prints:

```
{1..3}
```
END

status=0
# edit <what blocks.sh must do> <name> <sed script>
edit()
{
  export SCRATCH="$everything/$2"
  sed "$3" "$everything/document.md" > "$everything/$2.md"
  result=passes
  sh "$SOURCE/tests/contract/blocks.sh" "$everything/$2.md" > "$everything/$2.log" 2>&1 || result=caught
  echo "$2: $result"
  [ $result = "$1" ] || { cat "$everything/$2.log"; status=1; }
}
edit passes right ''
edit caught compile 's/;$//'
edit caught warning 's/cs_init();/cs_init(); int unused;/'
edit caught status 's/return 0/return 1/'
edit caught output 's/{1..3}/{1, 2, 4}/'
edit caught not_told '/^It prints: 42/d'
edit caught said_nothing '/^It prints:$/,$d'
edit caught no_frame '/^<!-- frame/d'
edit caught not_marked 's/^```c$/```/'
exit $status
