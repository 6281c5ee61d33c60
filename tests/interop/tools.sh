# For the tests of this folder, which source it: installs independent readers under a work folder, once for each
# content of the file that lists them. A test ends with 77 (skipped) where a registry cannot be reached.

readonly here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
readonly unreachable='ENOTFOUND|EAI_AGAIN|ECONNREFUSED|ECONNRESET|ETIMEDOUT|ENETUNREACH|EHOSTUNREACH|NewConnectionError|ConnectTimeoutError|ReadTimeoutError|ProxyError|name resolution|Network is unreachable|network'

skip() {
  echo "SKIPPED, nothing was tested: $1" >&2
  exit 77
}

# require_command NAME PACKAGE
require_command() {
  if command -v "$1" >/dev/null; then return; fi
  if [[ ${CI:-} == true ]]; then
    echo "CI=true, and $1 is missing" >&2
    exit 1
  fi
  skip "$1 is missing; ./dev test installs it"
}

# install LIST FOLDER COMMAND...: the command fills FOLDER with what LIST names. Tests may run at once.
install() {
  local list=$1 folder=$2
  shift 2
  mkdir -p "$(dirname "$folder")"
  exec {lock}>"$folder.lock"
  flock "$lock"
  if ! cmp -s "$list" "$folder/installed"; then
    rm -rf "$folder"
    mkdir -p "$folder"
    if ! "$@" >"$folder.log" 2>&1; then
      cat "$folder.log" >&2
      if grep -qE "$unreachable" "$folder.log"; then skip "the package registry cannot be reached"; fi
      exit 1
    fi
    cp "$list" "$folder/installed"
  fi
  exec {lock}>&-
}

fill_python() {
  python3 -m venv "$1" && "$1/bin/pip" install --disable-pip-version-check --retries 1 --timeout 30 \
    --only-binary :all: -r "$here/requirements.txt"
}

# install_python WORK: WORK/python/bin/python has the packages of requirements.txt.
install_python() {
  require_command python3
  install "$here/requirements.txt" "$1/python" fill_python "$1/python"
}

fill_node() {
  cp "$here/package.json" "$1/"
  npm install --prefix "$1" --no-audit --no-fund --ignore-scripts --fetch-retries 1 --fetch-timeout 30000
}

# install_node WORK: modules in WORK/node find the packages of package.json.
install_node() {
  require_command node
  require_command npm
  install "$here/package.json" "$1/node" fill_node "$1/node"
}
