# Loading a table.
row = "^load 200000 rows"
height = 220
load "docs/pictures/bars"
