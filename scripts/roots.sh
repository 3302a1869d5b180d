# Root directories of other releases and processors, to try the tree in as a newcomer would; to be
# sourced after common.sh. Everything here needs root.
# shellcheck shell=bash disable=SC2154

roots=$tree/build/roots
results=$roots/results # a line for each step: its name, its place, what came out

# source_line SUITE: where apt finds a release: as $archive has it, or else where this machine's apt
# finds its own.
source_line() {
    local place
    [ -z "${archive:-}" ] || { echo "${archive/ SUITE / $1 }"; return; }
    # Archives of security updates have other labels. The fields are for apt.
    # shellcheck disable=SC2016
    place=$(apt-get indextargets --format '$(REPO_URI)' "Created-By: Packages" \
        "Label: $(. /etc/os-release && echo "${ID^}")" | head -n 1)
    [ -n "$place" ] || { say "apt has no package archive of this system." >&2; return 1; }
    echo "deb $place $1 main"
}

# make_root NAME SUITE [MMDEBSTRAP-OPTION]...: a fresh minimal system, and the committed tree in it.
make_root() {
    local name=$1 suite=$2 log=$roots/$1.root.log line
    shift 2
    line=$(source_line "$suite") || return 1
    remove_root "$name"
    mkdir -p "$roots"
    # The way to the archive is this machine's. Not every release counts apt among the required
    # packages. A root that lasts for an hour need not survive a power cut.
    apt-config dump | grep -E '^Acquire::(Check-|https?::)' >"$roots/$name.apt.conf"
    mmdebstrap --variant=minbase --include=apt --aptopt="$roots/$name.apt.conf" \
        --dpkgopt=force-unsafe-io "$@" \
        "$suite" "$roots/$name" "$line" >"$log" 2>&1 || {
        cat "$log"
        return 1
    }
    git clone --quiet --no-hardlinks "$tree" "$roots/$name/root/tree" &&
        git -C "$roots/$name/root/tree" checkout --quiet --detach "$(git -C "$tree" rev-parse HEAD)"
}

remove_root() { rm -rf --one-file-system "${roots:?}/${1:?}"; }

# in_root NAME COMMAND...: runs a command in the root's tree, with processes and mounts of its own.
in_root() {
    local name=$1
    shift
    # The expressions are for the inner shell.
    # shellcheck disable=SC2016
    unshare --mount --propagation private --pid --fork --kill-child bash -euc '
        root=$1
        shift
        mount --bind "$root" "$root" # bubblewrap wants a mount point for its /
        mount -t proc proc "$root/proc"
        mount --rbind /sys "$root/sys"
        mount --rbind /dev "$root/dev"
        [ ! -e /etc/resolv.conf ] || cp /etc/resolv.conf "$root/etc/resolv.conf"
        # The root of the mounts, not of a process: no user namespaces are made below the latter.
        cd "$root"
        pivot_root . .
        umount --lazy .
        cd /root/tree
        exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8 ${CI+CI="$CI"} "$@"
    ' bash "$roots/$name" "$@"
}

# step NAME WHAT COMMAND...: one step in a root, timed; its output stays in a file. The last line of
# the output that counts something is its result.
step() {
    local name=$1 what=$2 began=$SECONDS status=0 log counted
    shift 2
    log=$roots/$name.${what//[^a-z]/-}.log
    in_root "$name" "$@" >"$log" 2>&1 </dev/null || status=$?
    counted=$(grep -E '[0-9]+ (passed|failed)|tests (passed|failed)' "$log" | tail -n 1)
    [ $status = 0 ] || counted="FAILED${counted:+: $counted}"
    printf '%-16s %-24s %6d s  %s\n' "$name" "$what" $((SECONDS - began)) "${counted:-works}" |
        tee -a "$results"
    return $status
}

# report: the table of all steps so far; fails when one did.
report() {
    say "Commit $(git -C "$tree" rev-parse --short HEAD):"
    cat "$results"
    say "The output of each step is in $roots."
    ! grep -q FAILED "$results"
}
