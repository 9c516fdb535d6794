# bash completion for qvimage
_qvimage() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words
  if [ "$COMP_CWORD" -eq 1 ]; then
    words="info convert diff stat --help --version"
  elif [ "$previous" = --compression ]; then
    words="none lzw lzw-predictor packbits arithmetic arithmetic-predictor"
  elif [ "$previous" = --rotate ]; then
    words="90 180 270"
  elif [ "$previous" = --flip ]; then
    words="x y"
  elif [ "$previous" = --type ]; then
    words="u8 u16 u32 f32 f64"
  elif [ "$previous" = --colour ]; then
    words="rgb bgr grey cmy cmyk bsh ycrcb"
  elif [ "$previous" = --bayer ]; then
    words="rggb grbg gbrg bggr"
  elif [[ $current == -* ]]; then
    words=$(qvimage "${COMP_WORDS[1]}" --help 2>/dev/null | sed -n 's/^ *\(--[a-z]*\).*/\1/p')
  else
    COMPREPLY=()  # file names, by -o default
    return
  fi
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}
complete -o default -F _qvimage qvimage
