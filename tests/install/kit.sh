# Sourced by the tests in this folder.
set -euo pipefail
failed=0
fail() {
  printf 'FAILED: %s\n' "$*" >&2
  failed=1
}

# search_paths FOLDER: the loader's search path of every program and library in a folder, a line
# each: the file, a tab, the path.
search_paths() {
  local file
  find "$1" -type f -print0 | while IFS= read -r -d '' file; do
    [[ $(head -c 4 "$file" | tr -d '\0') == $'\x7fELF' ]] || continue
    readelf -dW "$file" 2>/dev/null |
      sed -nE "s|.*\((RUNPATH\|RPATH)\).*\[(.*)\]|$file\t\2|p"
  done
}

# check_search_paths FOLDER: no entry is empty or relative: the loader takes both from wherever the
# program is started.
check_search_paths() {
  local file path entry count=0
  while IFS=$'\t' read -r file path; do
    count=$((count + 1))
    # One more entry keeps an empty last one.
    while IFS= read -r -d : entry; do
      case $entry in
        '$ORIGIN'* | /*) ;;
        *) fail "$file has the entry '$entry' in its search path '$path'" ;;
      esac
    done <<<"$path:"
  done < <(search_paths "$1")
  ((count > 0)) || fail "no file in $1 has a search path"
}
