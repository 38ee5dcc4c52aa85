# Lets Doxygen read the headers as they are written for those who open them: the comment at the top documents the
# file, its conventions are a list, a line "/* ---- Title ---- */" with the comment below it opens a group, and a
# comment holds for all declarations up to the next empty line.
function close_group() {
    if (in_group)
        print "/** @} */"
    in_group = 0
}

# A comment's text, with nothing in it that Doxygen takes for a command.
function plain(text) {
    gsub(/[@#]/, "\\\\&", text)
    return text
}

function open_group(title,    line) {
    close_group()
    print "/** @name " plain(title)
    if ((getline line) > 0 && line == "/*") {
        while ((getline line) > 0 && line != " */")
            print plain(line)
        line = ""
    }
    print " */\n/** @{ */\n" line
    in_group = 1
}

# The body of a comment that begins with "/**", kept for the declarations that follow.
function comment_line(line) {
    line = plain(line)
    if (top && match(line, /^ \* [A-Z][a-z]+  +/)) {
        word = substr(line, 4, RLENGTH - 3)
        sub(/ +$/, "", word)
        line = " * - **" word "**: " substr(line, RLENGTH + 1)
    } else if (top) {
        sub(/^ \*            +/, " *   ", line)
    }
    comment = comment line "\n"
}

/^\/\* ---- Lists where one unit is wanted/ { close_group(); skipping = 1 }
skipping { if (/^#endif/) print; next }

/^\/\* ---- .* -+ \*\/$/ {
    sub(/^\/\* ---- /, "")
    sub(/ -+ \*\/$/, "")
    open_group($0)
    next
}

/^} \/\/ namespace/ || /^#ifdef / || /^#endif$/ { close_group() }

/^ *\/\*\*/ {
    comment = ""
    ended = 0
    top = NR == 1
    if (top)
        sub(/\/\*\*/, "/** @file")
    sub(/@file/, "FILE_MARK")
    comment_line($0)
    sub(/FILE_MARK/, "@file", comment)
    in_comment = !/\*\/$/
    if (!in_comment)
        printf "%s", comment
    next
}
in_comment {
    comment_line($0)
    if (/\*\/$/) {
        in_comment = 0
        printf "%s", comment
    }
    next
}

/^$/ { comment = "" }
/^VESK_API / && ended && comment != "" { printf "%s", comment }
{ ended = /^VESK_API .*;$/ || (ended_before && /;$/); ended_before = /^VESK_API / && !/;$/ || (ended_before && !/;$/) }
{ print }
