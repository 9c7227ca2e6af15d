# Options and commands in a help text, one a line: what the shell completes.
/^Subcommands:/ { commands = 1 }
/^  -/ {
    split($1, names, ",")
    for (n in names) if (names[n] ~ /^--/) print names[n]
}
commands && /^  [a-z]/ { print $1 }
