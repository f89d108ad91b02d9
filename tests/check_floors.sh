#!/usr/bin/env bash
# Fails when a source file includes a header from a floor above its own.
# Floors, ground first; a folder may include its own floor and those before it.
set -u
src=$1
floors=(core model store ui capture browse menubar firstrun settings update app)
declare -A level home
for i in "${!floors[@]}"; do level[${floors[$i]}]=$i; done
for floor in "${floors[@]}"; do
    for header in "$src/$floor"/*.h; do
        [ -e "$header" ] && home[$(basename "$header")]=$floor
    done
done
status=0
for floor in "${floors[@]}"; do
    for file in "$src/$floor"/*.{h,cpp}; do
        [ -e "$file" ] || continue
        while read -r name; do
            target=${home[$name]:-}
            if [ -n "$target" ] && [ "${level[$target]}" -gt "${level[$floor]}" ]; then
                echo "${file#"$src"/} includes $target/$name, a floor above it"
                status=1
            fi
        done < <(sed -n 's/^#include "\([^"]*\)".*/\1/p' "$file")
    done
done
[ $status -eq 0 ] && echo "every include stays on its floor or below"
exit $status
