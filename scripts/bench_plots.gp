# SPDX-License-Identifier: Apache-2.0
# The curves of scripts/bench_report.sh; `dir` names the folder of the CSV files and of the plots.
set datafile separator ","
set terminal pngcairo size 900,420 font "DejaVu Sans,9"
set grid
set key top left
set logscale x 2

set output dir."/latency_threads.png"
set multiplot layout 1,2 title "null round trip latency against concurrent client threads"
do for [mode in "xproc inproc"] {
    set title mode eq "xproc" ? "across processes (floor: socketpair ping-pong)" \
                              : "in one process (floor: condition-variable ping-pong)"
    set xlabel "client threads"
    set ylabel "microseconds"
    set logscale y
    plot dir."/".mode."_Latency.csv" using "threads":"p50" with linespoints lw 2 title "p50", \
         "" using "threads":"p99" with linespoints lw 2 title "p99", \
         dir."/".mode."_LatencyFloor.csv" using "threads":"p50" with linespoints dt 2 title "floor p50", \
         "" using "threads":"p99" with linespoints dt 2 title "floor p99"
    unset logscale y
}
unset multiplot

set output dir."/payload.png"
set format x "%.0s%cB"
set multiplot layout 1,2 title "round trip against payload size"
do for [mode in "xproc inproc"] {
    set title mode eq "xproc" ? "across processes" : "in one process"
    set xlabel "payload bytes"
    set ylabel "microseconds"
    set logscale y
    plot dir."/".mode."_Payload.csv" using "bytes":"time_us" with linespoints lw 2 title "request with raw data", \
         dir."/".mode."_PayloadFloor.csv" using "bytes":"time_us" with linespoints dt 2 \
         title "floor: ping-pong + one copy into fresh pages"
    unset logscale y
}
unset multiplot

set format x "%g"
set output dir."/oneway.png"
set title "one-way request throughput against client threads"
set xlabel "client threads"
set ylabel "requests per second"
plot dir."/xproc_OneWay.csv" using "threads":"items_per_second" with linespoints lw 2 title "across processes", \
     dir."/xproc_OneWayFloor.csv" using "threads":"items_per_second" with linespoints dt 2 \
     title "floor: raw messages to a reader", \
     dir."/inproc_OneWay.csv" using "threads":"items_per_second" with linespoints lw 2 title "in one process", \
     dir."/inproc_OneWayFloor.csv" using "threads":"items_per_second" with linespoints dt 2 \
     title "floor: condition-variable hand-offs"

set output dir."/fanout.png"
set title "callback fan-out: one service calls every registered object once"
set xlabel "callback objects in all client processes"
set ylabel "microseconds per callback"
stats dir."/xproc_LatencyFloor.csv" using "p50" every ::0::0 nooutput name "floor"
set key top right
plot for [p in "1 2 4 8"] dir."/xproc_FanOut.csv" using "callbacks":($2 == p + 0 ? $3 / $4 : NaN) \
         with linespoints lw 2 title p." client process".(p eq "1" ? "" : "es"), \
     floor_min with lines dt 2 lw 2 title "floor: one socketpair ping-pong (p50)"
