# Shows a plain C header to Doxygen, as a filter of its input; the header stays as it is, for those who read it.
#   The first comment becomes the main page, each banner a group.
#   A comment in front of a declaration documents it, and those that follow without an empty line.
#   A comment behind a declaration or a field documents that.
#   In a comment, lines that are indented or set in two columns stay as they are; names of functions become links.

function escaped(text) {
  gsub(/[\\@#<>&%"]/, "\\\\&", text)
  return text
}

# Names without parentheses get some: that is what makes them links. What stands between backquotes is code.
function linked(text,    result) {
  result = ""
  while (match(text, /(^|[^A-Za-z0-9_])cs_[A-Za-z0-9]+[^A-Za-z0-9_(*]/)) {
    result = result substr(text, 1, RSTART + RLENGTH - 2) "()"
    text = substr(text, RSTART + RLENGTH - 1)
  }
  text = result text
  while (sub(/`/, "<tt>", text))
    sub(/`/, "</tt>", text)
  return text
}

# The comment's lines first..last as text of Doxygen's; paragraphs on one line each, so that no line begins like a list.
function prose(first, last,    i, line, result, paragraph, verbatim) {
  result = paragraph = ""
  verbatim = 0
  for (i = first; i <= last; i++) {
    line = comment[i]
    if (line ~ /^    / || line ~ /^[A-Za-z]+  +[^ ]/) {
      if (paragraph != "")
        result = result linked(escaped(paragraph)) "\n"
      paragraph = ""
      result = result (verbatim ? "" : "@verbatim\n") line "\n"
      verbatim = 1
      continue
    }
    if (verbatim && line == "" && comment[i + 1] ~ /^    / && i < last) {
      result = result "\n"
      continue
    }
    if (verbatim)
      result = result "@endverbatim\n"
    verbatim = 0
    if (line == "") {
      result = result linked(escaped(paragraph)) "\n\n"
      paragraph = ""
    } else {
      sub(/^ +/, "", line)
      paragraph = paragraph (paragraph == "" ? "" : " ") line
    }
  }
  return result linked(escaped(paragraph " ")) (verbatim ? "\n@endverbatim\n" : "")
}

function close_group() {
  if (group)
    print "/** @} */"
}

function close_comment(    last) {
  inside = 0
  last = lines
  if (!seen++) {
    print "/** @mainpage " prose(1, last) "*/"
    print "/** @file ku.h The interface of libku. */"
  } else if (comment[1] ~ /^----/) {
    close_group()
    group++
    print "/** @defgroup part" group " " escaped(comment[2]) "\n" prose(3, last) "*/\n/** @{ */"
  } else {
    documentation = "/** " prose(1, last) "*/"
    print documentation
    fresh = 1
  }
}

function add(line) {
  sub(/ *\*\/ *$/, "", line)
  sub(/^ \* ?/, "", line)
  sub(/^ -----*$/, "", line)
  if (line !~ /^-----*$/ || lines == 0)
    comment[++lines] = line
}

inside {
  add($0)
  if (/\*\/$/)
    close_comment()
  next
}

/^\/\*/ {
  inside = 1
  lines = 0
  line = $0
  sub(/^\/\* ?/, "", line)
  if (line != "")
    add(line)
  if (/\*\/$/)
    close_comment()
  next
}

/^#ifdef __cplusplus/ { close_group(); group = 0 }
/^$/ { documentation = "" }
/^#endif/ { print; next }

{
  if (/\/\* *\*\/$/)
    sub(/\/\* *\*\/$/, "")
  else if (match($0, /\/\* .* \*\/$/)) {
    print substr($0, 1, RSTART - 1) "/**< " linked(escaped(substr($0, RSTART + 3, RLENGTH - 5))) " */"
    next
  }
  if (/^(CS_API|typedef)/ && documentation != "" && !fresh)
    print documentation
  fresh = 0
  print
}
