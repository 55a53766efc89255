# Completion of velora in bash: the tools, the options of the tool, the databases, file names. Tools and options are
# those that the program itself tells.

_velora() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} program=${COMP_WORDS[0]}
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$("$program" 2>/dev/null | sed -n 's/^\([a-z0-9]*\) - .*/\1/p')" -- "$word")
    return
  fi
  case $before in
    -d)
      local directory=${program%/*}
      [ "$directory" != "$program" ] || directory=.
      mapfile -t COMPREPLY < <(cd "$directory/datai" 2>/dev/null && compgen -G "$word*.par" | sed 's/\.par$//')
      return
      ;;
    -f | -i | -l | -lf | -if | -of | -src) compopt -o default; return ;;
  esac
  case $word in
    -*)
      local options
      options=$("$program" "${COMP_WORDS[1]}" 2>/dev/null | sed -n 2p | grep -oE '(^|[[ (])-[a-z0-9]+' | tr -d '[( ')
      mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
      ;;
    *) compopt -o default ;;
  esac
}
complete -F _velora velora ./velora
