#!/bin/sh
# run.sh BUILD_DIR install|gdb|host|card: cdt-gdb-adapter (installed once into BUILD_DIR/npm),
# driven by drive.js through a whole session on stock gdb (the driver's own check), on wem over
# stock gdb, or on wem on the simulated card with a breakpoint in card-side code. Exits 77
# (skipped) where node, npm, the registry or the namespaces are missing. The adapter's log of
# every MI line is BUILD_DIR/dap/MODE.log.
set -u
src=$(cd "$(dirname "$0")/../../.." && pwd)
build=$(cd "${1:?usage: run.sh BUILD_DIR MODE}" && pwd)
mode=${2:?usage: run.sh BUILD_DIR MODE}
bin=$build/bin
npm_dir=$build/npm
adapter=$npm_dir/node_modules/cdt-gdb-adapter/dist/debugAdapter.js

skip() { echo "SKIPPED: $*"; exit 77; }
command -v node >/dev/null || skip "node is not installed (apt-get install nodejs)"
if [ "$mode" = install ]; then
  [ ! -f "$adapter" ] || exit 0
  command -v npm >/dev/null || skip "npm is not installed (apt-get install npm)"
  mkdir -p "$npm_dir"
  # The install scripts only build an optional terminal helper that the session does not use.
  npm_config_cache=$npm_dir/cache timeout 150 npm install --prefix "$npm_dir" --ignore-scripts \
    --no-audit --no-fund --fetch-retries=1 --fetch-timeout=30000 cdt-gdb-adapter@1.7.0 \
    >"$npm_dir/install.log" 2>&1 ||
    { tail -5 "$npm_dir/install.log"; skip "cdt-gdb-adapter cannot be installed from npm"; }
  exit 0
fi
[ -f "$adapter" ] || skip "cdt-gdb-adapter is not installed (see $npm_dir/install.log)"
mkdir -p "$build/dap" && cd "$build/dap" || exit 1
log=$build/dap/$mode.log
rm -f "$log"
drive="$src/tests/e2e/dap/drive.js $adapter"
case $mode in
  gdb) exec node $drive gdb "$bin/sample" host "$log" ;;
  host) exec node $drive "$bin/wem" "$bin/sample" host "$log" WEM_COMPAT=gdb ZUBC_HOST=gdb ;;
  card)
    export WEM_CARD_SERVER=$bin/card-server
    why=$("$src/tools/simulate-card" true 2>&1) || { [ $? != 77 ] || skip "$why"; }
    exec "$src/tools/simulate-card" node $drive "$bin/wem" "$bin/offload_host" card "$log" \
      WEM_COMPAT=gdb "ZUBC_HOST=$bin/zub-gdb" "ZUBC_VEK=$bin/zub-gdb" ;;
esac
echo "run.sh: unknown mode $mode" >&2
exit 2
