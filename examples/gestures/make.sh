#!/usr/bin/env bash
# Makes the example templates: three of each gesture, of a simulated controller whose hand is not quite steady.
# usage: make.sh HOST_PROGRAM FOLDER, from the root of the tree
set -euo pipefail
host=$1
folder=$2
while read -r gesture class; do
  mkdir -p "$folder/$class"
  for seed in 1 2 3; do
    "$host" simulate gesture examples/trees/gestures.vfx --record --gesture "$gesture" --noise 0.03 --seed "$seed" \
      --rate 2000 --seconds 1.5 2>/dev/null | awk -f examples/gestures/store.awk >"$folder/$class/$((seed - 1)).csv"
  done
done <<'LIST'
circle circles
zet zets
square squares
throw throws
x xs
circle_right circle_right
left right_to_left
right left_to_right
down up_to_down
up down_to_up
LIST
