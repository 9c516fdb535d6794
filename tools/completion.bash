# bash completion for qvimage: commands, options and their values are what the help says
_qvimage() {
  local current=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} help words
  # bash takes --option=value apart at the sign
  if [ "$current" = = ]; then
    current=
  elif [ "$option" = = ]; then
    option=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="$(qvimage --help | sed -n 's/^  \([a-z]*\)  .*/\1/p') --help --version"
  else
    help=$(qvimage "${COMP_WORDS[1]}" --help 2>/dev/null)
    [ "$option" = --color ] && option=--colour
    words=$(sed -n "s/^  $option \([a-z0-9-]*|[a-z0-9|-]*\)\( .*\)\{0,1\}$/\1/p" <<<"$help" | tr '|' ' ')
    if [ -z "$words" ] && [[ $current == -* ]]; then
      words=$(sed -n 's/^  \(--[a-z-]*\).*/\1/p' <<<"$help")
    fi
  fi
  COMPREPLY=($(compgen -W "$words" -- "$current"))  # none: file names, by -o default
}
complete -o default -F _qvimage qvimage
