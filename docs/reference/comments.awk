# Doxygen's view of a header:
# - An overload that stands directly below a documented one belongs to the same comment.
# - The comment that opens a group does not go on in the comment of its first member.
# - What serves the sources of the library alone is left out.
# With -v quote=WORD, double quotes are written as that word: in manual pages doxygen makes single ones
# of them.

function name_of(line) {
    if (line !~ /\(/)
        return ""
    sub(/\(.*/, "", line)
    sub(/^.*[ &*]/, "", line)
    return line
}

/^\/\/ What follows serves the sources of the library/ { exit }

/^ *\/\/\// {
    if (quote)
        gsub(/"/, quote)
    if (!in_comment)
        comment = ""
    in_comment = 1
    comment = comment $0 "\n"
    print
    if (/@[{}]/) {
        print ""
        in_comment = 0
    }
    next
}
{
    name = name_of($0)
    declares = name != "" && /;$|\{\}$/
    if (in_comment)
        documented = name
    else if (declares && name == documented)
        printf "%s", comment
    else
        documented = ""
    in_comment = 0
    print
}
