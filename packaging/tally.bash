# Completion of tally in bash.

# Names of files that the programs read; folders too.
_tally_files() {
  local IFS=$'\n' kind
  compopt -o filenames 2>/dev/null
  COMPREPLY=($(compgen -d -- "$1"))
  for kind in xls xlt pxl pxt csv txt XLS XLT PXL PXT CSV TXT; do
    COMPREPLY+=($(compgen -f -X "!*.$kind" -- "$1"))
  done
}

_tally_words() { COMPREPLY=($(compgen -W "$2" -- "$1")); }

_tally() {
  local common="--help --version --locale --code-page --date --trust --update-links"
  local with_value="--locale --code-page --date --sheet --from --to --form --out --book --cell"
  local word="${COMP_WORDS[COMP_CWORD]}" before="${COMP_WORDS[COMP_CWORD-1]}" subcommand="" i
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "${COMP_WORDS[i]}" in
      -*) ;;
      *)
        [[ " $with_value " == *" ${COMP_WORDS[i-1]} "* ]] && continue
        subcommand="${COMP_WORDS[i]}"
        break
        ;;
    esac
  done
  case "$before" in
    --locale) _tally_words "$word" "en-US zh-CN de-DE"; return ;;
    --from) _tally_words "$word" "xls pxl csv txt"; return ;;
    --to) _tally_words "$word" "xls xlt pxl pxt csv txt"; return ;;
    --form) _tally_words "$word" "97 95"; return ;;
    --book | --out) _tally_files "$word"; return ;;
    --code-page | --date | --sheet | --cell) return ;;
  esac
  if [[ -z $subcommand ]]; then
    if [[ $word == -* ]]; then _tally_words "$word" "$common -h"
    else _tally_words "$word" "sheets cells verify convert eval functions replay"
    fi
    return
  fi
  if [[ $word == -* ]]; then
    local own=""
    case "$subcommand" in
      sheets | verify) own="--from" ;;
      cells) own="--sheet --recalculate --from" ;;
      convert) own="--sheet --recalculate --from --to --form --force" ;;
      eval) own="--sheet --book --cell" ;;
      functions) own="--document" ;;
      replay) own="--out --force --book" ;;
    esac
    _tally_words "$word" "-h $common $own"
    return
  fi
  case "$subcommand" in
    sheets | cells | verify | convert) _tally_files "$word" ;;
    replay) COMPREPLY=($(compgen -f -- "$word")) ;;
  esac
}

_tallyman() {
  local word="${COMP_WORDS[COMP_CWORD]}"
  case "$word" in
    -*) _tally_words "$word" "-h --help --version" ;;
    *) _tally_files "$word" ;;
  esac
}

complete -F _tally tally
complete -F _tallyman tallyman
