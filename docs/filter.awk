# What Doxygen reads in place of a file. A page takes the name of its file as its label. In a header the plain comments
# before and behind public names become documentation; declarations without an empty line between them share theirs.
#
#   // Order   smallest first     a fact about a class: one entry of a list
#   //   0x1   load   no file     a row of a table
#   // The text form: ...         with an empty line behind it: a heading over the members that follow

BEGIN { ended = 1 }

FNR == 1 && FILENAME ~ /\.md$/ {
  name = FILENAME
  gsub(/.*\/|\.md$/, "", name)
  print $0 (name == "index" ? "" : " {#" name "}")
  page = 1
  next
}
page { print; next }

function turn_into(kind, opening) {
  if (list == kind) return
  if (list) comment = comment "/// </" list ">\n"
  if (kind) comment = comment "/// " opening "\n"
  list = kind
}

function end_members() {
  if (members) print "/// @}"
  members = 0
}

# Nothing inside a function is documentation.
body { if ($0 == body) body = ""; sub(/ *\/\/.*/, ""); print; next }

/^ *\/\// {
  if (spent) comment = ""
  spent = 0
  text = $0
  sub(/^ *\/\/ ?/, "", text)
  if (/^\/\/ [A-Z][a-z]+  /) {
    turn_into("dl", "<dl class=\"facts\">")
    fact = text
    sub(/ .*/, "", fact)
    sub(/^[^ ]* +/, "", text)
    text = "<dt>" fact "</dt><dd>" text
  } else if (/^\/\/   ?[^ ]+  /) {
    turn_into("table", "<table>")
    sub(/^ +/, "", text)
    gsub(/  +/, "</td><td>", text)
    text = "<tr><td>" text "</td></tr>"
  } else if (text == "") {
    turn_into("", "")
  }
  sub(/^ +/, "", text)
  comment = comment "/// " text "\n"
  next
}

/^$/ {
  if (comment && !spent && depth == 0) printf "/// @file\n%s", comment
  if (comment && !spent && depth > 0) {
    end_members()
    colon = index(comment, ":")
    printf "/// @name %s\n/// %s%s/// @{\n", substr(comment, 5, colon - 5),
      toupper(substr(comment, colon + 2, 1)), substr(comment, colon + 3)
    members = 1
  }
  comment = ""
  print
  next
}

{
  turn_into("", "")
  match($0, /^ */)
  if (ended) depth = RLENGTH
  if (ended) printf "%s", comment
  spent = 1
  ended = /[;{}:]( *\/\/.*)?$/ || /^ *(#|template|extern)/
  if (/^ (private|protected):|^};/) end_members()
  if (/^ +[^}].*;  +\/\/ /) sub(/;  +\/\/ /, ";  ///< ")
  if (/\).*\{$/) body = sprintf("%*s}", depth, "")
  if (/[:{}]$/) comment = ""
  print
}
