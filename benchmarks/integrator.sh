#!/bin/sh
# CERTIFICATE PACKAGE TARGET: what an integrator would write instead of using the library. The same
# checks in the same order and the same files in the end, from tools that every system has. It gets
# by with a single copy of the payload, by unpacking next to the target and moving.
set -eu

certificate=$1
package=$2
target=$3

work=$(mktemp -d "$target.XXXXXX")
trap 'rm -rf "$work"' EXIT

manifest="$work/FirmwareDescription.xml"
unzip -q -p "$package" FirmwareDescription.xml >"$manifest"
xmlsec1 --verify --enabled-reference-uris empty --pubkey-cert-pem "$certificate" "$manifest" \
    >/dev/null 2>&1

# One line for each file: digest, kind, name in the archive, name on the target.
sed -n 's/.*<File xsi:type="\([^"]*\)" LocalFilePath="\([^"]*\)" RemoteFilePath="\([^"]*\)" HashValue="\([^"]*\)".*/\4 \1 \2 \3/p' \
    "$manifest" >"$work/files"

mkdir "$work/payload"
unzip -q "$package" -x FirmwareDescription.xml -d "$work/payload"
while read -r digest kind local remote; do
    printf '%s  %s\n' "$(printf %s "$digest" | base64 -d | od -An -v -tx1 | tr -d ' \n')" "$local"
done <"$work/files" >"$work/sums"
(cd "$work/payload" && sha256sum --check --quiet --strict "$work/sums")

while read -r digest kind local remote; do
    mkdir -p "$(dirname "$target/$remote")"
    mv "$work/payload/$local" "$target/$remote"
    if [ "$kind" = ScriptFileType ]; then
        case $remote in
            *Script.run)
                chmod u+x "$target/$remote"
                /bin/sh "$target/$remote" \
                    /UpdateApplicationFiles:True /UpdateSystemFiles:True /CommissioningMode:False
                ;;
        esac
    fi
done <"$work/files"
