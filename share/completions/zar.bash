# Completion of the command zar for bash.

# Folders, and files that may hold policies; their names may hold blanks.
_zar_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$1"; compgen -f -X '!*.@(yaml|yml)' -- "$1")
}

# How many words between the command and the cursor are no options.
_zar_arguments() {
  local word count=0
  for word in "${COMP_WORDS[@]:2:COMP_CWORD-2}"; do
    [[ $word == -* ]] || ((++count))
  done
  echo "$count"
}

_zar() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} words=
  COMPREPLY=()
  # Bash takes --level=rules for three words.
  if [[ $word == = ]]; then
    word=
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  if ((COMP_CWORD == 1)); then
    words='check config diff explain graph help lint run schema shell show test --help --version -h'
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    return
  fi

  case $before in
    --level) COMPREPLY=($(compgen -W 'decision rules filters' -- "$word")); return ;;
    --trace) COMPREPLY=($(compgen -W 'error info' -- "$word")); return ;;
    --event | --set | --clear | --min-coverage | --reach | --effort) return ;;
  esac
  if [[ $word == -* ]]; then
    case $command in
      check) words='--json' ;;
      config) words='--json' ;;
      diff) words='--replay --json' ;;
      explain) words='--event --set --clear --level --reach --effort --json' ;;
      graph) words='--json' ;;
      help) words='' ;;
      lint) words='--strict --effort --json' ;;
      run) words='--event --trace --json' ;;
      schema) words='--json' ;;
      shell) words='--json' ;;
      show) words='--listing --json' ;;
      test) words='--min-coverage --json' ;;
      *) return ;;
    esac
    COMPREPLY=($(compgen -W "$words --help -h" -- "$word"))
    return
  fi

  case $command in
    help) COMPREPLY=($(compgen -W 'check config diff explain graph help lint run schema shell show test' -- "$word")) ;;
    schema) ;;
    show)
      case $(_zar_arguments) in
        0) _zar_files "$word" ;;
        1) COMPREPLY=($(compgen -W 'policy class target parameter-map' -- "$word")) ;;
      esac
      ;;
    *) _zar_files "$word" ;;
  esac
}

shopt -s extglob
complete -F _zar zar
