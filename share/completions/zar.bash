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

# Sets 'typed' to the words up to the cursor, without their quotes, and 'raw' to the last one as it stands. Bash itself
# splits words at '@', '=' and ':' too. Fails within quotes.
_zar_split() {
  local line=${COMP_LINE:0:COMP_POINT} word= quoted at character
  typed=() raw=
  for ((at = 0; at < ${#line}; at++)); do
    character=${line:at:1}
    case $character in
      [[:space:]])
        [[ -z $raw ]] || typed+=("$word")
        word= raw=
        ;;
      \\)
        raw+=${line:at:2}
        word+=${line:++at:1}
        ;;
      [\"\'])
        quoted=${line:at+1}
        [[ $quoted == *"$character"* ]] || return 1
        quoted=${quoted%%"$character"*}
        raw+=$character$quoted$character
        word+=$quoted
        ((at += ${#quoted} + 1))
        ;;
      *)
        raw+=$character
        word+=$character
        ;;
    esac
  done
  typed+=("$word")
}

# The first of the words that is a file.
_zar_policy_file() {
  local word
  for word in "${typed[@]:2:${#typed[@]}-3}"; do
    word=${word/#\~\//$HOME/}
    [[ $word != -* && -f $word ]] && printf '%s' "$word" && return
  done
  return 1
}

# Completes the value of an option, or a name, from the policy file of the line. Fails if there is nothing to complete
# so. What the file holds is text here and never becomes code.
_zar_from_file() {
  local typed raw before what front= file found candidate kept
  _zar_split || return
  ((${#typed[@]} > 2)) || return
  before=${typed[-2]}
  case $raw in
    --event=* | --set=* | --clear=*) before=${raw%%=*} front=$before= ;;
  esac
  case $before in
    --event) what=event ;;
    --set) what=assignment ;;
    --clear) what=attribute ;;
    policy | class | target | parameter-map) [[ ${typed[1]} == show ]] && what=$before ;;
  esac
  # With quotes or variables, what is typed is not yet what is meant.
  [[ -n $what && $raw != *[\\\"\'\$\`]* ]] || return
  file=$(_zar_policy_file) || return
  mapfile -t found < <(command zar candidates "$file" "$what" "${raw#"$front"}" 2>/dev/null)
  # Bash replaces only what follows the last of its word breaks; an '@' it replaces too.
  kept=${raw%"${raw##*["${COMP_WORDBREAKS// /}"]}"}
  kept=${kept%@}
  for candidate in "${found[@]}"; do
    [[ $candidate == *[@=] ]] && compopt -o nospace 2>/dev/null
    candidate=$front$candidate
    printf -v candidate '%q' "${candidate:${#kept}}"
    COMPREPLY+=("$candidate")
  done
}

_zar_findings='shadowed-rule impossible-class unused-class unused-parameter-map inactive-policy
  unraised-event unreachable-statement raise-loop similar-attributes ignored-denial
  unreachable-action overruled-decision not-a-number unused-ignore undecided'

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
    words='check config diff explain fmt graph help lint lsp prove report run schema serve shell show test --help --version --color -h'
    COMPREPLY=($(compgen -W "$words" -- "$word"))
    return
  fi

  _zar_from_file && return
  case $before in
    --level) COMPREPLY=($(compgen -W 'decision rules filters' -- "$word")); return ;;
    --color) COMPREPLY=($(compgen -W 'auto always never' -- "$word")); return ;;
    --format) COMPREPLY=($(compgen -W 'text json sarif github' -- "$word")); return ;;
    --trace) COMPREPLY=($(compgen -W 'error info' -- "$word")); return ;;
    --except | --only)
      [[ $command == lint ]] && COMPREPLY=($(compgen -W "$_zar_findings" -- "$word"))
      return
      ;;
    --event | --set | --clear | --jobs | --min-coverage | --policy | --reach | --effort | --claim | --when | --timeout | --connections | --time-limit | --size-limit) return ;;
    --against) _zar_files "$word"; return ;;
    --svg | --png | --events | --socket | --log | -o | --output) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
  esac
  if [[ $word == -* ]]; then
    case $command in
      check) words='--format --json' ;;
      config) words='--json' ;;
      diff) words='--replay --json' ;;
      explain) words='--event --set --clear --level --reach --effort --json' ;;
      fmt) words='--check --diff --json' ;;
      graph) words='--policy --event --hit-only --no-fold --svg --png --json' ;;
      help) words='' ;;
      lint) words='--strict --only --except --effort --format --json' ;;
      lsp) words='--effort' ;;
      prove) words='--claim --only --against --when --stricter --timeout --json' ;;
      report) words='--against --events -o --output --no-graph --effort --json' ;;
      run) words='--event --events --set --with --summary --no-listings --no-results --trace --json --jsonl --jobs --strict' ;;
      schema) words='--json' ;;
      serve) words='--socket --connections --time-limit --size-limit --log' ;;
      shell) words='--json' ;;
      show) words='--listing --json' ;;
      test) words='--with --only --junit --min-coverage --json' ;;
      *) return ;;
    esac
    COMPREPLY=($(compgen -W "$words --color --help -h" -- "$word"))
    return
  fi

  case $command in
    help) COMPREPLY=($(compgen -W 'check config diff explain fmt graph help lint lsp prove report run schema serve shell show test' -- "$word")) ;;
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
