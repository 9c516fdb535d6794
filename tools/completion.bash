# bash completion for qvimage
_qvimage() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="info convert diff stat --help --version"
  elif [ "$previous" = --compression ]; then
    words="none lzw lzw-predictor packbits arithmetic arithmetic-predictor"
  elif [[ $current == -* ]]; then
    words=$(qvimage "${COMP_WORDS[1]}" --help 2>/dev/null | sed -n 's/^ *\(--[a-z]*\).*/\1/p')
  else
    COMPREPLY=()  # file names, by -o default
    return
  fi
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -o default -F _qvimage qvimage
