# The look of the plot of cost against number of blocks.
set terminal svg size 760,480 dynamic name "ttydb" font 'sans-serif,13' background '#ffffff' enhanced
set title 'Retrieve and unlock a line at random' noenhanced
set xlabel 'blocks of ten lines'
set ylabel 'nanoseconds'
set logscale xy
set xrange [0.9:1100]
set yrange [10:*]
set grid xtics ytics mytics linecolor '#dddddd'
set key left top Left reverse noenhanced
set border 3
set xtics nomirror
set ytics nomirror
set style line 1 linecolor '#c0392b' linewidth 3 pointtype 7 pointsize 0.7
set style line 2 linecolor '#7f8c8d' linewidth 2 dashtype 2 pointtype 6 pointsize 0.6
set style line 3 linecolor '#2980b9' linewidth 2 pointtype 5 pointsize 0.6
set style line 4 linecolor '#27ae60' linewidth 2 pointtype 9 pointsize 0.7
set style line 5 linecolor '#8e44ad' linewidth 2 pointtype 13 pointsize 0.8
