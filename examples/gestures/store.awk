# Turns the list that a DTWNode prints of a recorded gesture into a template:
#   ... | awk -f store.awk >circles/0.csv
BEGIN { FS = " - " }
NF == 0 && count > 0 { exit }
NF == 4 { print count++ "," $1 "," $2 "," $3 }
