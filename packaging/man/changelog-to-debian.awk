# CHANGELOG.md as a Debian change log.   awk -v maintainer='NAME <ADDRESS>' -f changelog-to-debian.awk
function put(first, text,    words, count, w, row) {
    count = split(text, words, " ")
    row = first
    for (w = 1; w <= count; ++w) {
        if (length(row) + length(words[w]) > 76) {
            print row
            row = "   "
        }
        row = row " " words[w]
    }
    print row
}
function close_item() {
    if (item != "") put("  *", item)
    item = ""
}
function close_entry() {
    close_item()
    if (date == "") return
    command = "date -u -R -d " date
    command | getline stamp
    close(command)
    print "\n -- " maintainer "  " stamp "\n"
}
/^## / {
    close_entry()
    date = $3
    gsub(/[()]/, "", date)
    print "vorela (" $2 ") stable; urgency=medium\n"
    next
}
date == "" { next }
/^- / { close_item(); item = substr($0, 3); next }
/^  / { item = item " " substr($0, 3) }
END { close_entry() }
