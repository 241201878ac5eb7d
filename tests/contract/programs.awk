# Takes the whole programs out of a header's comment or out of a Markdown file.
#
# In a header (kind=header) a program is a stretch of comment lines indented by four blanks more than the prose. In Markdown
# it is a fence marked c or cpp. It is whole when it has a main. What it prints stands behind it: on a line "It prints: ..."
# or, where that line ends with the colon, in the fence that follows.
# Writes <out>/<n>.c or .cpp and <out>/<n>.expected, and the numbers on the standard output.

function close_block() {
  if (code ~ /int main/) {
    if (whole && !told)
      missing = 1
    whole++
    told = 0
    printf "%s", code > (out "/" whole "." language)
    close(out "/" whole "." language)
    print whole, language
  }
  code = ""
  inside = 0
}

function expect(text) {
  told = 1
  printf "%s", text > (out "/" whole ".expected")
  close(out "/" whole ".expected")
}

BEGIN { language = "c" }

kind == "header" {
  if (/\*\//) exit
  if (/^ \*     / || (inside && /^ \*$/)) {
    inside = 1
    code = code substr($0, 8) "\n"
    next
  }
  if (inside)
    close_block()
  line = substr($0, 4)
}

kind != "header" {
  if (inside) {
    if (/^```/) {
      if (awaited) { expect(code); code = ""; inside = awaited = 0 }
      else if (language == "c" || language == "cpp") close_block()
      else {
        if (code ~ /int main/)
          unmarked = 1
        code = ""
        inside = 0
      }
    } else
      code = code $0 "\n"
    next
  }
  if (/^```/) {
    inside = 1
    language = substr($0, 4)
    next
  }
  line = $0
}

whole && !told && line ~ /^It prints:/ {
  sub(/^It prints: */, "", line)
  if (line ~ /^`.*`$/)
    line = substr(line, 2, length(line) - 2)
  if (line != "")
    expect(line "\n")
  else
    awaited = 1
}

END {
  if (unmarked) {
    print "a whole program stands in a fence that is marked neither c nor cpp" > "/dev/stderr"
    exit 1
  }
  if (missing || (whole && !told)) {
    print "a whole program isn't followed by a line \"It prints:\"" > "/dev/stderr"
    exit 1
  }
  if (!whole) {
    print "there is no whole program" > "/dev/stderr"
    exit 1
  }
}
