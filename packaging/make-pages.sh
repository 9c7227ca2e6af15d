#!/bin/sh
# Makes what an installation holds besides the programs: manual pages and command completion out of the programs' own
# help, and the change log of the package.   make-pages.sh BIN SOURCE OUT VERSION MAINTAINER
set -eu
bin=$1 source=$2 out=$3 version=$4 maintainer=$5
man=$source/packaging/man
export LC_ALL=C

date=$(sed -n 's/^## [^ ]* (\(.*\))$/\1/p' "$source/CHANGELOG.md" | head -n 1)
newest=$(sed -n 's/^## \([^ ]*\) .*/\1/p' "$source/CHANGELOG.md" | head -n 1)
if [ "$newest" != "$version" ]; then
    echo "CHANGELOG.md begins with version $newest, the build is version $version" >&2
    exit 1
fi
rm -rf "$out"
mkdir -p "$out/man" "$out/completions" "$out/doc"

commands_of() { "$bin/dravik" --help | awk '/^Subcommands:/ { on = 1 } on && /^  [a-z]/ { print $1 }'; }

page() { # PROGRAM DESCRIPTION
    {
        printf '.TH %s 1 "%s" "Vorela %s" "User Commands"\n' "$1" "$date" "$version"
        printf '.SH NAME\n%s \\- %s\n' "$(printf %s "$1" | sed 's/-/\\-/g')" "$2"
        "$bin/$1" --help >"$out/help"
        awk -v level=SH -f "$man/help-to-man.awk" "$out/help"
        if [ "$1" = dravik ]; then
            for command in $(commands_of); do
                printf '.SH COMMAND %s\n' "$command"
                "$bin/dravik" "$command" --help >"$out/help"
                awk -v level=SS -f "$man/help-to-man.awk" "$out/help"
            done
        fi
        cat "$man/$1.more"
    } >"$out/man/$1.1"
    rm "$out/help"
    gzip -9n "$out/man/$1.1"
}

words_of() { "$bin/$1" ${2:-} --help | awk -f "$man/help-to-completion.awk" | sort -u | tr '\n' ' '; }

completion() { # PROGRAM
    name=_$(printf %s "$1" | tr - _)
    {
        printf '# Options of %s; file names where no option is meant.\n%s() {\n' "$1" "$name"
        printf '    local word=${COMP_WORDS[COMP_CWORD]} words="%s"\n' "$(words_of "$1")"
        if [ "$1" = dravik ]; then
            printf '    [ "$COMP_CWORD" -eq 1 ] || case ${COMP_WORDS[1]} in\n'
            for command in $(commands_of); do
                printf '        %s) words="%s" ;;\n' "$command" "$(words_of dravik "$command")"
            done
            printf '    esac\n    [ "$COMP_CWORD" -eq 1 ] || [[ $word == -* ]] || return\n'
        else
            printf '    [[ $word == -* ]] || return\n'
        fi
        printf '    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")\n}\n'
        printf 'complete -o default -F %s %s\n' "$name" "$1"
    } >"$out/completions/$1"
}

page Vorela "analyse harmonic well tests in a window"
page vorela-batch "analyse harmonic well tests without a window"
page dravik "simulate, import, look at and export well-test recordings"
for program in Vorela vorela-batch dravik; do completion "$program"; done

awk -v maintainer="$maintainer" -f "$man/changelog-to-debian.awk" "$source/CHANGELOG.md" >"$out/doc/changelog"
gzip -9n "$out/doc/changelog"
sed -e "s/@PROJECT_VERSION@/$version/" -e "s/@VORELA_RELEASE_DATE@/$date/" \
    "$source/packaging/vorela.metainfo.xml.in" >"$out/vorela.metainfo.xml"
