# Completion of vqws for bash: commands, options, and known values.
#
# The lines that begin with "# words" list the words. A test compares them with those of the tool.
# words commands: status login logout watch sign token get doctor check-server dump report
# words common: --key --secret-file --oauth2-key --oauth2-secret-file --server --support --ca --json --quiet --timeout --help --version
# words login: --no-browser
# words check-server: --no-browser --browser-command
# words sign: --header --method
# words token: --oauth2

# Prints the words of a name, from this file.
_vqws_words() {
  sed -n "s/^# words $1: //p" "$_vqws_file"
}
_vqws_file=${BASH_SOURCE[0]}

_vqws() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command='' commands word choices
  COMPREPLY=()
  case "$before" in
    --server) choices='production staging development' ;;
    --oauth2) choices='RT JWT' ;;
    --method) choices='GET POST PUT DELETE HEAD' ;;
    --secret-file|--oauth2-secret-file|--ca) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
    --support) mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
    --key|--oauth2-key|--timeout|--browser-command) return ;;
  esac
  if [ -z "${choices:-}" ]; then
    commands=" $(_vqws_words commands) "
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
      case "$commands" in *" $word "*) command=$word; break ;; esac
    done
    [ "$command" != check-server ] || [[ $current == -* ]] || { mapfile -t COMPREPLY < <(compgen -f -- "$current"); return; }
    case "$current" in
      -*) choices="$(_vqws_words common) ${command:+$(_vqws_words "$command")}" ;;
      *) [ -n "$command" ] || choices=$commands ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "${choices:-}" -- "$current")
}
complete -F _vqws vqws
