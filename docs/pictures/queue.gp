# What a removal and a push cost, against how many requests wait.
set terminal svg size 400,380 font "sans-serif,12" linewidth 1.5
set datafile separator tab missing "?"
set logscale xy
set format "10^{%L}"
set xlabel "waiting requests" offset 0, 0.4
set ylabel "nanoseconds for a removal and a push"
set key below maxcols 3 samplen 2
set bmargin 7
set border 3
set tics nomirror
colours = "#2f81f7 #d9730d #2da44e #a371f7 #e5534b #8b949e"
plot for [i = 2:7] "< awk -v row='^random, 1' -f docs/pictures/measured.awk docs/choosing.md" \
  using 1:i with linespoints linecolor rgb word(colours, i - 1) linewidth (i == 2 ? 2.5 : 1.2) pointtype i pointsize 0.5 \
  title columnheader(i) noenhanced
