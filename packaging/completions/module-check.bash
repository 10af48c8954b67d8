# Completion for bash.
_module_check() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  case $previous in
    --only|--timeout|-j|--jobs) return ;;
  esac
  if [[ $word == -* && $previous != --sample && $previous != --with ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--sample --with --only --timeout -j --jobs -v --verbose --json --list --version
      -h --help' -- "$word")
    return
  fi
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$word")
}
complete -F _module_check module-check
