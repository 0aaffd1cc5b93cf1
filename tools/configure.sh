# Sourced by tools/run.sh, tools/test.sh and tools/package.sh: the one way
# they configure a build folder, so that each reuses what another made.

# configure FOLDER BUILD_TYPE [cmake arguments...]: Ninja, with ccache when it
# is installed (nothing needs it).
configure() {
    local folder=$1 type=$2
    shift 2
    local launcher=()
    command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    # A folder configured with another generator (older run.sh used Make)
    # is configured afresh; its objects are rebuilt.
    if [ -f "$folder/CMakeCache.txt" ] && ! grep -qx "CMAKE_GENERATOR:INTERNAL=Ninja" "$folder/CMakeCache.txt"; then
        rm -rf "$folder/CMakeCache.txt" "$folder/CMakeFiles"
    fi
    cmake -S . -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE="$type" "${launcher[@]}" "$@" >/dev/null
}

# The release build in build/: what run.sh installs to your own folders
# (~/.vst, ~/.lv2, ...), what test.sh smoke-tests and what package.sh packs.
RELEASE_BUILD=build
configure_release() {
    configure "$RELEASE_BUILD" Release -DTAPDELAY_SYSTEM_INSTALL=OFF "$@"
}
