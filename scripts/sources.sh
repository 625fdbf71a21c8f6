# Sourced by the checks in this folder, in the root of a checkout. shellcheck shell=sh

# Prints the files of the checkout that match, one per line. Fails if there are none: a check of nothing would pass.
#   sources PATTERN ...
sources() {
  found=$(git ls-files "$@") && [ -n "$found" ] || {
    echo "there are no sources here to check: this needs git, and a checkout made with git clone" >&2
    return 1
  }
  echo "$found"
}

# The library, the hosts, the simulator and the command.
product_sources() {
  sources 'core/*.cpp' 'objects/*.cpp' 'compose/*.cpp' 'lifecycle/*.cpp' 'present/*.cpp' 'pmtr/*.cpp' 'probes/*.cpp' \
    'host/*.cpp' 'simulator/*.cpp' 'command/*.cpp'
}
