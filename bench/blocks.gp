# Draws the time of a retrieval against the number of blocks, from the data block $times.
set terminal svg size 760,480 dynamic name "ttydb" font 'sans-serif,13' background '#ffffff' enhanced
set title 'Retrieve and unlock a line at random' noenhanced
set xlabel 'blocks of ten lines'
set ylabel 'nanoseconds'
set logscale x
set xrange [0.9:1100]
set yrange [0:*]
set grid xtics ytics linecolor '#dddddd'
set key left top Left reverse noenhanced
set border 3
set xtics nomirror
set ytics nomirror
set style data linespoints
plot $times \
     using 1:2 title 'library' linecolor '#c0392b' linewidth 3 pointtype 7 pointsize 0.7, \
  '' using 1:3 title 'floor' linecolor '#7f8c8d' linewidth 2 dashtype 2 pointtype 6 pointsize 0.6, \
  '' using 1:4 title 'std::map' linecolor '#2980b9' linewidth 2 pointtype 5 pointsize 0.6, \
  '' using 1:5 title 'std::unordered_map' linecolor '#27ae60' linewidth 2 pointtype 9 pointsize 0.7, \
  '' using 1:6 title 'tbb::concurrent_hash_map' linecolor '#8e44ad' linewidth 2 pointtype 13 pointsize 0.8
