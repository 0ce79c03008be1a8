# Copying a file of 1 MiB.
row = "^copyTo 1 MiB"
height = 220
load "docs/pictures/bars"
