# Completion of the options of autoresponder-explain for bash, as its help lists them.
_autoresponder_explain() {
  case $2 in
    -*) mapfile -t COMPREPLY < <(compgen -W "$("$1" --help | grep -oE -- '--[a-z-]+' | sort -u)" -- "$2") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- "$2") ;;
  esac
}
complete -o filenames -F _autoresponder_explain autoresponder-explain
