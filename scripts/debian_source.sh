# Sourced by the scripts that take a library out of a Debian source package.

# The release whose packages we build from. It may be newer than the machine's: only source archives are taken from it.
readonly SOURCE_SUITE=trixie

readonly CACHE_ROOT="${XDG_CACHE_HOME:-$HOME/.cache}/service-mediainfo"

say() { echo "${0##*/}: $*" >&2; }
die() { say "$*"; exit 1; }

# apt_entries: the binary repositories that apt is set up with, "suite uri [options]" a line, both file formats.
apt_entries() {
  local Dir=/ DirEtcSourcelist=etc/apt/sources.list DirEtcSourceparts=etc/apt/sources.list.d
  eval "$(apt-config shell DirEtcSourcelist Dir::Etc::sourcelist/f DirEtcSourceparts Dir::Etc::sourceparts/d)"
  local file
  for file in "$DirEtcSourcelist" "$DirEtcSourceparts"/*.list "$DirEtcSourceparts"/*.sources; do
    [[ -r $file && -s $file ]] || continue
    case $file in
      *.sources) deb822_entries "$file" ;;
      *) one_line_entries "$file" ;;
    esac
  done
}

# one_line_entries FILE: reads "deb [options] uri suite component...".
one_line_entries() {
  awk '
    { sub(/#.*/, "") }
    $1 != "deb" { next }
    {
      options = ""
      if (match($0, /\[[^]]*\]/)) {
        count = split(substr($0, RSTART + 1, RLENGTH - 2), words, " ")
        for (i = 1; i <= count; i++)
          if (words[i] ~ /^(signed-by|trusted)=/) options = options " " words[i]
        $0 = substr($0, 1, RSTART - 1) substr($0, RSTART + RLENGTH)
      }
      for (i = 4; i <= NF; i++) if ($i == "main") print $3, $2, "[" options " ]"
    }' "$1"
}

# deb822_entries FILE: reads stanzas of "Field: value", where a value goes on in lines that start with a blank.
deb822_entries() {
  awk '
    function flush(  suites, uris, count, i, options) {
      if ((" " field["types"] " ") ~ / deb / && (" " field["components"] " ") ~ / main / &&
          tolower(field["enabled"]) !~ /^ *(no|false|off|0|without|disable) *$/) {
        # A key that is embedded rather than named does not fit the one-line format.
        if (field["signed-by"] ~ /^ *\//) { gsub(/ /, "", field["signed-by"]); options = " signed-by=" field["signed-by"] }
        if (field["trusted"] != "") { gsub(/ /, "", field["trusted"]); options = options " trusted=" field["trusted"] }
        split(field["uris"], uris, " ")
        count = split(field["suites"], suites, " ")
        for (i = 1; i <= count; i++) print suites[i], uris[1], "[" options " ]"
      }
      delete field
    }
    /^#/ { next }
    /^[ \t]*$/ { flush(); next }
    /^[ \t]/ { field[name] = field[name] " " $0; next }
    {
      name = tolower(substr($0, 1, index($0, ":") - 1))
      field[name] = substr($0, index($0, ":") + 1)
      gsub(/\t/, " ", field[name])
    }
    END { flush() }' "$1"
}

# source_list: the one line that names the release's source packages on the mirror and with the key that the machine
# uses for its own release.
source_list() {
  local codename suite uri options
  codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  while read -r suite uri options; do
    case $suite in
      "$codename" | "$SOURCE_SUITE" | oldstable | stable | testing | unstable | sid)
        echo "deb-src $options $uri $SOURCE_SUITE main"
        return
        ;;
    esac
  done < <(apt_entries)
  return 1
}

# fetch_source PACKAGE FOLDER: puts the package's upstream archive into FOLDER. The archive's digest is checked by apt
# against the signed index of the release. The machine's own apt set-up, lists and caches are not touched.
fetch_source() {
  local package=$1 folder=$2 state="$CACHE_ROOT/apt"
  command -v apt-get >/dev/null || die "no apt-get to fetch the source of $package with"
  mkdir -p "$state/lists/partial" "$state/cache/archives/partial"
  source_list >"$folder/source.list" || die "apt is set up with no Debian mirror to fetch the source of $package from"

  # As root apt would fetch as its own user, who cannot write into a private cache folder.
  local apt=(apt-get --quiet=2 -o "Dir::Etc::sourcelist=$folder/source.list" -o Dir::Etc::sourceparts=/dev/null
    -o "Dir::State::Lists=$state/lists" -o "Dir::Cache=$state/cache" -o APT::Sandbox::User=root)
  (
    exec 9>"$state/lock"
    flock 9
    "${apt[@]}" update && cd "$folder" && "${apt[@]}" source --download-only --tar-only "$package"
  ) >"$folder/apt.log" 2>&1 </dev/null || {
    cat "$folder/apt.log" >&2
    die "fetching the source of $package failed"
  }
}
