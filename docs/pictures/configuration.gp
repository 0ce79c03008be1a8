# Loading 100000 keys and values from text.
row = "^load 100000 keys$"
height = 260
load "docs/pictures/bars"
