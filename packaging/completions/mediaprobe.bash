# Completion for bash.
_mediaprobe() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  # Readline takes the equals sign of "--service=im" for a word of its own.
  if [[ $word == = ]]; then
    word=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD-2]}
  fi
  case $previous in
    --service) mapfile -t COMPREPLY < <(compgen -W 'auto media image svg' -- "$word"); return ;;
    --isolation) mapfile -t COMPREPLY < <(compgen -W 'none worker strict' -- "$word"); return ;;
    --log-level) mapfile -t COMPREPLY < <(compgen -W 'trace debug info warning error fatal off' -- "$word"); return ;;
    -k|--key|-j|--jobs|--timeout|--memory|--include|--exclude) return ;;
  esac
  if [[ $word == -* && $previous != -o && $previous != --output ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--text --json --ndjson --csv -o --output -u --uuid -k --key --key-file -r --recursive
      --include --exclude --stdin -0 --service -j --jobs --timeout --memory --isolation --allow-unsandboxed --progress
      --no-progress --full --log-level --log-file --formats --services --version -h --help' -- "$word")
    return
  fi
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$word")
}
complete -F _mediaprobe mediaprobe
