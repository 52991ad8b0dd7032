# Completion of ztk(1) for bash.

_ztk() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local command=${COMP_WORDS[1]:-} action=
  if [[ $command == conf ]]; then action=${COMP_WORDS[3]:-}; else action=${COMP_WORDS[2]:-}; fi
  COMPREPLY=()

  _ztk_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current"); }
  _ztk_files() { mapfile -t COMPREPLY < <(compgen -f -- "$current"); }

  case $previous in
    --line-ends) _ztk_words "keep lf crlf cr"; return ;;
    --mark) _ztk_words "keep yes no"; return ;;
    --order) _ztk_words "little big both"; return ;;
    --from | --to) _ztk_words "native unix mac dos vms"; return ;;
    --layout) _ztk_words "u8 i8 u16 i16 u32 i32 u64 i64 f80 str skip"; return ;;
    -o | --output | --cwd) _ztk_files; return ;;
  esac

  if ((COMP_CWORD == 1)); then
    _ztk_words "text conf path data --help --version"
    return
  fi
  if ((COMP_CWORD == 2)); then
    case $command in
      text) _ztk_words "info convert --help" ;;
      path) _ztk_words "split convert normalise --help" ;;
      data) _ztk_words "dump --help" ;;
      conf) _ztk_files ;;
    esac
    return
  fi
  if [[ $command == conf ]] && ((COMP_CWORD == 3)); then
    _ztk_words "list get set delete export --help"
    return
  fi
  if [[ $current == -* ]]; then
    case $command-$action in
      text-info) _ztk_words "--json --help" ;;
      text-convert) _ztk_words "--output --in-place --line-ends --mark --replace --help" ;;
      path-split) _ztk_words "--from --json --help" ;;
      path-convert) _ztk_words "--from --to --help" ;;
      path-normalise) _ztk_words "--from --cwd --literal --case --links --help" ;;
      data-dump) _ztk_words "--layout --order --json --help" ;;
      conf-list | conf-get) _ztk_words "--json --help" ;;
      conf-*) _ztk_words "--help" ;;
    esac
    return
  fi
  [[ $command == conf ]] || _ztk_files
}

complete -o filenames -F _ztk ztk
