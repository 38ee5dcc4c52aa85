# Gives each page a name of its own, that of its file, for Doxygen would make one of where the tree lies.
NR == 1 {
    name = FILENAME
    sub(/.*\//, "", name)
    sub(/\.md$/, "", name)
    # debhelper has ideas of its own about a "changelog.html".
    sub(/^CHANGELOG$/, "changes", name)
    $0 = $0 " {#" tolower(name) "}"
}
{ print }
