#!/bin/sh
# systemd-sandbox.sh USER_ID PREFIX HOME RUNTIME_DIR LOGDIR CGROUP HIERARCHY...
# The machine's side of a desktop session, inside a mount and cgroup namespace
# of its own (systemd-units.sh starts it with unshare), seen by nothing
# outside: the runtime folder of a machine booted with systemd and a journal,
# on memory file systems that vanish with the namespace, and a user USER_ID
# known to the password database of this namespace alone. The session itself
# runs as that user (systemd-session.sh): a systemd user manager in a cgroup
# named and delegated as a desktop's is. In each cgroup HIERARCHY the test's
# CGROUP is mounted over the hierarchy's root, so that the namespace sees it
# as the root: the manager makes its cgroups there, never in the machine's.
. "$(dirname "$0")/lib.sh"
uid=$1 prefix=$2 home=$3 run=$4 logs=$5 cgroup=$6
shift 6

mount -t tmpfs tmpfs /run/systemd || fail "cannot mount a private /run/systemd"
mkdir -p /run/systemd/system /run/log
mount -t tmpfs tmpfs /run/log || fail "cannot mount a private /run/log"
# Persistent journal storage, as only there the journal keeps a file per user.
mount -t tmpfs tmpfs /var/log || fail "cannot mount a private /var/log"
mkdir -p /var/log/journal

# The operator: a user of their own, so that the journal files their
# services' messages under them (journalctl --user).
cp /etc/passwd "$logs/passwd" && cp /etc/group "$logs/group" || fail "cannot copy the password database"
echo "zentor-operator:x:$uid:$uid:Zentor operator:$home:/bin/sh" >>"$logs/passwd"
echo "zentor-operator:x:$uid:" >>"$logs/group"
mount --bind "$logs/passwd" /etc/passwd && mount --bind "$logs/group" /etc/group \
  || fail "cannot give the namespace its own password database"
for h in "$@"; do
  mount --bind "$h/$cgroup" "$h" || fail "cannot mount $h/$cgroup over $h in the namespace"
  grep -qx "$$" "$h/cgroup.procs" || fail "$h shows the machine's cgroups, not the namespace's"
  cg="$h/user.slice/user-$uid.slice/user@$uid.service"
  mkdir -p "$cg" && chown -R "$uid:$uid" "$cg" || fail "cannot delegate the cgroup $cg"
done

# (Its own messages stay in its log, not in the machine's kernel log.)
SYSTEMD_LOG_TARGET=console /lib/systemd/systemd-journald >"$logs/journald.log" 2>&1 &
journald=$!
trap 'kill "$journald" 2>/dev/null; wait "$journald" 2>/dev/null; rm -rf "$scratch"' EXIT
i=0
while [ ! -S /run/systemd/journal/stdout ] && [ $i -lt 100 ]; do sleep 0.1; i=$((i + 1)); done
[ -S /run/systemd/journal/stdout ] || fail "the journal did not start: $(cat "$logs/journald.log")"
# What the machine's start does next: the journal moves to /var/log/journal
# and its folders get the permissions users read their own journal by.
journalctl --flush || fail "the journal does not move to /var/log/journal"
systemd-tmpfiles --create --prefix=/var/log/journal >"$logs/tmpfiles.log" 2>&1

# Into the delegated cgroup first (only root may move a process there), then
# the operator's session.
for h in "$@"; do
  echo $$ >"$h/user.slice/user-$uid.slice/user@$uid.service/cgroup.procs" || fail "cannot enter the session's cgroup in $h"
done
setpriv --reuid="$uid" --regid="$uid" --clear-groups --reset-env \
  env HOME="$home" "$here/systemd-session.sh" "$prefix" "$home" "$run" "$logs"
