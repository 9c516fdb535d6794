# Takes one program out of the guide: the C block after "<!-- program NAME -->" becomes BASE.c, the text block after
# that, if one comes before the next program, BASE.expected.
BEGIN {
  printf "" > (base ".c")
  printf "" > (base ".expected")
}
/^<!-- program / { wanted = $3 == program; next }
/^```/ {
  file = ""
  if (wanted && $0 == "```c") {
    file = base ".c"
    printf "#line %d \"docs/guide.md\"\n", NR + 1 > file
  }
  if (wanted && $0 == "```text") file = base ".expected"
  next
}
file != "" { print > file }
