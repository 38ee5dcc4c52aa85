# Prints what the headers declare with VESK_API: a line "NAME COUNT" for each function, COUNT being the number of
# its overloads; "Class::Name" for members, private ones included, for they are exported with their class.
{
    sub(/\/\/.*/, "")
    sub(/^[ \t]*#.*/, "")
    text = text " " $0
}

function without_comments(s,    start, rest) {
    while ((start = index(s, "/*")) > 0) {
        rest = substr(s, start)
        s = substr(s, 1, start - 1) " " substr(rest, index(rest, "*/") + 2)
    }
    return s
}

# The declared name stands before the first parenthesis outside of angle brackets.
function function_name(s,    words, last) {
    while (gsub(/<[^<>]*>/, "", s)) {
    }
    if (s !~ /\(/ || s ~ /= *(delete|default) *$/)
        return ""
    sub(/ *\(.*/, "", s)
    last = split(s, words, " ")
    sub(/^[*&]+/, "", words[last])
    return words[last]
}

# What stands before a semicolon, or before the brace that opens a body.
function declaration(s, opens,    member, name, words) {
    gsub(/[ \t]+/, " ", s)
    sub(/^ /, "", s)
    sub(/^((public|private|protected) ?: ?)+/, "", s)
    member = class_name != "" && depth == class_depth + 1
    if (opens && s ~ /^(class|struct) VESK_API /) {
        split(s, words, " ")
        class_name = words[3]
        class_depth = depth
    } else if ((member && !opens) || s ~ /^VESK_API /) {
        name = function_name(s)
        if (name != "")
            count[(member ? class_name "::" : "") name]++
    }
}

END {
    text = without_comments(text)
    while (match(text, /[;{}]/)) {
        piece = substr(text, 1, RSTART - 1)
        mark = substr(text, RSTART, 1)
        text = substr(text, RSTART + 1)
        if (mark != "}")
            declaration(piece, mark == "{")
        if (mark == "{")
            depth++
        if (mark == "}" && --depth == class_depth)
            class_name = ""
    }
    for (name in count)
        print name, count[name]
}
