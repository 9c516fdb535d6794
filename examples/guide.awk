# Takes one program out of the guide: the block of code after "<!-- program NAME -->" becomes BASE.LANGUAGE, the
# text block after that, if one comes before the next program, BASE.expected. LANGUAGE: c, cpp,
# python or java.
BEGIN {
  printf "" > (base "." language)
  printf "" > (base ".expected")
}
/^<!-- program / { wanted = $3 == program; next }
/^```/ {
  file = ""
  if (wanted && $0 == "```" language) {
    file = base "." language
    if (language ~ /^c/) printf "#line %d \"docs/guide.md\"\n", NR + 1 > file
  }
  if (wanted && $0 == "```text") file = base ".expected"
  next
}
file != "" { print > file }
