# Takes the code blocks out of a Markdown file: every fence marked c or cpp. A block is one of
#   a whole program   it has a main
#   a fragment        a comment <!-- frame: name --> before the fence puts it in the place of the line BLOCK in frames/name
#   a piece           a comment <!-- piece --> before the fence joins it to the front of the next block
# What a block prints stands behind it: on a line "It prints: ...", or, where that line ends with the colon, in the fence
# that follows. Where nothing is said it must print nothing; of a whole program that must be said ("It prints nothing.").
#
# Writes <out>/<n>.c or .cpp, whose main is renamed to block_<n> and whose lines count as in the document, and
# <out>/<n>.expected; and "<n> <language> <line>" on the standard output.

function fault(where, text) {
  print document ":" where ": " text > "/dev/stderr"
  failed = 1
  exit 1
}

function close_told() {
  if (!told)
    fault(at, "a whole program isn't followed by a line \"It prints:\"")
}

function close_block(    frame_line, path) {
  if (code ~ /[^_a-z]main\(/ && frame != "")
    fault(at, "a whole program needs no frame")
  if (next_is_piece) {
    if (frame != "")
      fault(at, "a piece has no frame of its own")
    pieces = pieces code
    return
  }
  n++
  whole = (pieces code) ~ /(^|\n)int main\(/
  if (whole == (frame != ""))
    fault(at, "a block without a main, a frame or a piece mark")
  path = out "/" n "." language
  printf "#define main block_%d\n", n > path
  if (language == "cpp") # its main, once renamed, is a function like any other
    printf "extern \"C\" int main(void);\n" > path
  if (frame != "") {
    found = 0
    while ((getline frame_line < (frames "/" frame)) > 0)
      if (frame_line == "BLOCK") {
        found = 1
        printf "%s", pieces code > path
      } else
        print frame_line > path
    close(frames "/" frame)
    if (!found)
      fault(at, "there is no frame " frame)
  } else
    printf "%s", pieces code > path
  close(path)
  printf "" > (out "/" n ".expected")
  close(out "/" n ".expected")
  print n, language, at
  told = !whole
  expecting = 1
  pieces = frame = ""
}

function expect(text) {
  if (!expecting)
    fault(FNR, "\"It prints:\" without a block before it")
  told = 1
  expecting = 0
  printf "%s", text > (out "/" n ".expected")
  close(out "/" n ".expected")
}

inside {
  if (/^```/) {
    inside = 0
    if (awaited) {
      awaited = 0
      expect(code)
    } else if (language == "c" || language == "cpp")
      close_block()
    else if (code ~ /cs_[A-Za-z]+\(|int main/)
      fault(at, "code in a fence that is marked neither c nor cpp")
  } else
    code = code $0 "\n"
  next
}

/^```/ {
  inside = 1
  language = substr($0, 4)
  at = FNR
  code = ""
  if (awaited)
    next
  if (language == "c" || language == "cpp") {
    if (n)
      close_told()
    next_is_piece = piece
    piece = 0
    code = "#line " (FNR + 1) " \"" document "\"\n"
  }
  next
}

/^<!-- frame: [a-z]+ -->$/ { frame = $3; next }
/^<!-- piece -->$/ { piece = 1; next }
/^<!--/ { fault(FNR, "an unknown mark") }

/^It prints/ {
  text = $0
  sub(/^It prints(:| nothing\.$) */, "", text)
  if (text ~ /^`.*`$/)
    text = substr(text, 2, length(text) - 2)
  if ($0 ~ /nothing\.$/)
    expect("")
  else if (text != "")
    expect(text "\n")
  else
    awaited = 1
}

END {
  if (failed)
    exit 1
  if (n)
    close_told()
  if (inside || awaited || pieces != "" || frame != "" || piece)
    fault(FNR, "a fence, a frame, a piece or an output without what belongs to it")
  if (!n)
    fault(FNR, "there is no block")
}
