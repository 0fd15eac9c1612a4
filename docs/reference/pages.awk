# Doxygen's view of a document: headings get the names by which links reach them, which are made as
# everybody else makes them, but are one's own in all documents together. What links lead to outside
# of these pages, such as a source, is named without the link. Code within a line is marked up, since
# doxygen reads quotes, percent signs and dashes of its own into it.

function slug(text) {
    text = tolower(text)
    gsub(/[^a-z0-9_ -]/, "", text)
    gsub(/ /, "-", text)
    return text
}

function label(file, heading) {
    sub(/\/README\.md$/, ".md", file) # the page of a folder is named for it
    sub(/.*\//, "", file)
    sub(/\.md$/, "", file)
    return heading == "" ? file : file "-" heading
}

# The path of the page that a link from this document leads to; "" for what is no page.
function page(target, path, line, found) {
    path = folder target
    while (sub(/[^\/]+\/\.\.\//, "", path)) {}
    if (path !~ /(^|\/)docs\/[^.]*\.md$/)
        return ""
    found = (getline line < path) >= 0
    close(path)
    return found ? path : ""
}

function with_links(line, done, target, heading, text) {
    done = ""
    while (match(line, /\]\([^) ]+\)/)) {
        target = substr(line, RSTART + 2, RLENGTH - 3)
        text = substr(line, 1, RSTART - 1)
        line = substr(line, RSTART + RLENGTH)
        heading = target ~ /#/ ? target : ""
        sub(/^[^#]*#/, "", heading)
        sub(/#.*/, "", target)
        if (target ~ /^https?:/)
            done = done text "](" target (heading == "" ? "" : "#" heading) ")"
        else if (text ~ /!\[[^\]]*$/) { # a picture, which doxygen finds by its name
            sub(/.*\//, "", target)
            done = done text "](" target ")"
        } else if (target == "")
            done = done text "](#" label(FILENAME, heading) ")"
        else if (page(target) != "")
            done = done text "](#" label(page(target), heading) ")"
        else {
            match(text, /.*\[/)
            done = done substr(text, 1, RLENGTH - 1) substr(text, RLENGTH + 1)
        }
    }
    return done line
}

function with_prose(line) {
    gsub(/@/, "\\\\@", line)
    return line
}

function with_code(line, done, text) {
    done = ""
    while (match(line, /`[^`]+`/)) {
        text = substr(line, RSTART + 1, RLENGTH - 2)
        gsub(/&/, "\\&amp;", text)
        gsub(/</, "\\&lt;", text)
        gsub(/>/, "\\&gt;", text)
        gsub(/"/, "\\&quot;", text)
        gsub(/\047/, "\\&apos;", text)
        gsub(/\\[^|]/, "\\\\&", text)
        gsub(/[%@#]/, "\\\\&", text)
        gsub(/--/, "\\\\--", text)
        gsub(/_/, "\\_", text)
        gsub(/\*/, "\\*", text)
        gsub(/  /, " \\&nbsp;", text)
        done = done with_prose(substr(line, 1, RSTART - 1)) "<code>" text "</code>"
        line = substr(line, RSTART + RLENGTH)
    }
    return done with_prose(line)
}

FNR == 1 {
    folder = FILENAME
    sub(/[^\/]*$/, "", folder)
}
/^ *```/ { fenced = !fenced }
fenced || /^ *```/ { print; next }
/^#+ / {
    heading = $0
    sub(/^#+ */, "", heading)
    print with_code($0) " {#" label(FILENAME, /^# / ? "" : slug(heading)) "}"
    next
}
{ print with_code(with_links($0)) }
