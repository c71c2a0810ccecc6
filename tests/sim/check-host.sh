#!/bin/sh
# check-host.sh SIM SHOW COMMAND: has SIM check the host that COMMAND starts, where "$driver" is the driver's
# path. The host reads commands on standard input; SHOW prints from its output, "$output", all values of the unit $2.
# Prints the rules that were broken and those that were not seen. Ends as the check does.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export driver="$folder/driver" output="$folder/output" commands="$folder/commands"
mkfifo "$commands"
cat >"$folder/answers" <<END
case \$1 in
on-off) printf 'on %s\noff %s\n' "\$2" "\$2" >"$commands" ;;
set) echo "set \$2 \$3" >"$commands" ;;
show) $2 | tail -n 1 ;;
*) echo "\$1 \$2" >"$commands" ;;
esac
END
"$1" check-host --json --driver "$driver" --answers "$folder/answers" -- \
    sh -c "exec $3 0<>$commands >$output 2>&1" >"$folder/report"
status=$?
jq -r '.rules[] | select(.result == "broken") | .rule' "$folder/report"
jq -r '.rules[] | select(.result == "not seen") | "not seen: " + .rule' "$folder/report"
exit $status
