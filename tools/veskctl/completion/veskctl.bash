# Completion of veskctl for bash: veskctl itself knows what there is.
_veskctl() {
    local line=${COMP_LINE:0:COMP_POINT} words found word skip
    read -ra words <<<"$line"
    [[ $line == *[[:blank:]] ]] && words+=("")
    word=${words[-1]}
    # Bash replaces what comes after the last character that it breaks words at, as the @ of a unit.
    skip=${word%"${word##*["$COMP_WORDBREAKS"]}"}
    COMPREPLY=()
    while IFS=$'\t' read -r found _; do
        COMPREPLY+=("${found:${#skip}}")
    done < <(veskctl --complete "${words[@]:1}" 2>/dev/null)
}
complete -F _veskctl veskctl
