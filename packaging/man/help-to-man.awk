# The help text of a program as a section of its manual page, so that no page is older than its program.
#   program --help | awk -v level=SH -f help-to-man.awk        level SS: the help of a command of the program
function roff(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    sub(/^[.']/, "\\\\\\&&", text)
    return text
}
function heading(text) {
    if (level == "SH") print ".SH " toupper(roff(text))
    else print ".PP\n.B " roff(text)
}
{ line[NR] = $0 }
END {
    column = 30  # where descriptions begin
    for (i = 1; i <= NR && line[i] !~ /^Usage: /; ++i) about = about (i > 1 && line[i] != "" ? "\n.br\n" : "") roff(line[i])
    usage = substr(line[i], 8)
    heading(level == "SH" ? "Synopsis" : "Usage")
    print ".PP\n" roff(usage)
    heading("Description")
    print ".PP\n" about
    for (++i; i <= NR; ++i) {
        text = line[i]
        if (text ~ /^[^ ].*:$/) {
            group = substr(text, 1, length(text) - 1)
            heading(group)
            if (group ~ /^Examples/) {
                print ".PP\n.nf"
                for (++i; i <= NR; ++i) print roff(substr(line[i], 3))
                print ".fi"
            }
        } else if (text ~ /^  [^ ]/) {
            if (i < NR && substr(line[i + 1], 1, column) ~ /^ +$/) {
                head = substr(text, 3)
                what = substr(line[++i], column + 1)
            } else {
                head = substr(text, 3, column - 2)
                what = substr(text, column + 1)
            }
            sub(/ +$/, "", head)
            print ".TP\n.B " roff(head) "\n" roff(what)
        } else if (text != "") {
            print ".PP\n" roff(text)
        }
    }
}
