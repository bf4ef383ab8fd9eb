# Reads the help of a command and prints its parts, tab-separated, a line each:
#   option      NAMES (comma-separated)  VALUE (empty for a flag)  NOTE (range, default)  DESCRIPTION
#   positional  NAME                     VALUE                     NOTE                   DESCRIPTION
#   command     NAME                     -                         -                      DESCRIPTION
# Names stand in the first 30 columns, or, when they are longer, on a line of their own.
function emit(name, text,    words, n, i, value, note, choices, range, fallback) {
    gsub(/^ +| +$/, "", name)
    gsub(/^ +| +$/, "", text)
    n = split(name, words, " ")
    value = ""
    for (i = 2; i <= n; ++i) value = value (i > 2 ? " " : "") words[i]
    note = ""
    if (match(value, / ?(Needs|Excludes): .*/)) {
        note = substr(value, RSTART, RLENGTH)
        value = substr(value, 1, RSTART - 1)
        sub(/^ /, "", note); sub(/Needs:/, "needs", note); sub(/Excludes:/, "excludes", note)
    }
    if (sub(/ ?REQUIRED$/, "", value)) note = "required" (note == "" ? "" : "; ") note
    if (match(value, /=[^=]*$/) && value !~ /\{/) {
        fallback = substr(value, RSTART + 1)
        value = substr(value, 1, RSTART - 1)
    }
    if (match(value, /:[A-Z]+ in \[[^]]*\]/)) {
        range = substr(value, RSTART, RLENGTH)
        sub(/.*\[/, "", range); sub(/\].*/, "", range); sub(/ - /, " to ", range)
        value = substr(value, 1, RSTART - 1)
        note = note (note == "" ? "" : "; ") range
    }
    if (fallback != "") note = note (note == "" ? "" : "; ") "default: " fallback
    if (match(value, /\{.*\}/)) value = substr(value, RSTART, RLENGTH)
    sub(/^TEXT:/, "", value)
    sub(/ \.\.\.$/, "...", value)
    if (value == "FLOAT x 3") value = "FLOAT,FLOAT,FLOAT"
    if (value == "" && kind == "option") value = "-"
    print kind "\t" words[1] "\t" value "\t" (note == "" ? "-" : note) "\t" (text == "" ? "-" : text)
}
function flush() {
    if (line == "") return
    if (description == "" && length(line) > 30 && substr(line, 30, 1) == " ")
        emit(substr(line, 1, 30), substr(line, 31))
    else
        emit(line, description)
    line = ""; description = ""
}
/^Positionals:/ { flush(); kind = "positional"; next }
/^Options:/ { flush(); kind = "option"; next }
/^\[Option Group/ { flush(); kind = "option"; isGroup = 1; next }
/^Subcommands:/ { flush(); kind = "command"; next }
/^[^ ]/ { flush(); kind = ""; next }
/^ *$/ { isGroup = 0; next }
kind == "" || /^  Options:$/ { next }
isGroup { $0 = substr($0, 3) } # a group's options are indented further
/^                              / { description = description " " substr($0, 31); next }
{ flush(); line = $0 }
END { flush() }
