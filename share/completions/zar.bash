# Completion of the command zar for bash.

_zar() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} words=
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    words='check config diff explain graph help lint run schema shell show test --help --version -h'
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    return
  fi

  case $before in
    --level) COMPREPLY=($(compgen -W 'decision rules filters' -- "$word")); return ;;
    --trace) COMPREPLY=($(compgen -W 'error info' -- "$word")); return ;;
    --event | --set | --clear | --min-coverage) return ;;
  esac
  if [[ $word == -* ]]; then
    case $command in
      check) words='--json' ;;
      config) words='--json' ;;
      diff) words='--replay --json' ;;
      explain) words='--event --set --clear --level --json' ;;
      graph) words='--json' ;;
      help) words='' ;;
      lint) words='--json' ;;
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
      if ((COMP_CWORD == 3)); then
        COMPREPLY=($(compgen -W 'policy class target parameter-map' -- "$word"))
        return
      fi
      ;;&
    *) compopt -o filenames 2>/dev/null
      COMPREPLY=($(compgen -d -- "$word") $(compgen -f -X '!*.@(yaml|yml)' -- "$word")) ;;
  esac
}

shopt -s extglob
complete -F _zar zar
