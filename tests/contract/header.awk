# Makes a Markdown document of a header's first comment, line for line: a stretch of lines indented by four blanks more than
# the prose becomes a fence, whose marks take the place of the empty lines around it.
/\*\// { exit }
!inside && /^ \*     / { inside = 1; held = "```c" }
inside && !/^ \*     / && !/^ \*$/ { inside = 0; held = "```" }
NR > 1 { print held }
{ held = substr($0, inside ? 8 : 4) }
END { print held }
