# From the tables of script/bench on a page: the rows whose names match `row`, as plain numbers, with the contestants'
# names ahead; or with bars=1 each contestant of one row on a line of its own.
BEGIN { FS = " *\\| *" }
/^\| \|/ { for (i = 3; i < NF; ++i) names[i] = $i; columns = NF - 1 }
/^\| / && $2 ~ row {
  if (!bars && !headed++) { printf "x"; for (i = 3; i <= columns; ++i) printf "\t%s", names[i]; print "" }
  x = $2
  sub(/.*, /, "", x)
  if (!bars) printf "%s", x
  for (i = 3; i <= columns; ++i) {
    gsub(/\*|\(.*\)/, "", $i)
    if (!bars) printf "\t%s", $i == "" ? "?" : $i
    else if ($i != "") printf "%s\t%s\n", names[i], $i / 1e6
  }
  if (!bars) print ""
}
