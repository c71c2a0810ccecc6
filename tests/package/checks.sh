# The checks of script/package, which sets the variables and functions that are used here.
# shellcheck shell=sh disable=SC2154

# Some overrides apply to some architectures only, and lintian reports them as unused on the others.
check_lintian() {
    need lintian
    say "lintian"
    lintian --allow-root --pedantic --display-info --fail-on none "$out"/*_"$arch".changes >"$scratch/hints"
    ! grep '^[EWIP]:' "$scratch/hints" | grep -v ' unused-override ' || fail "Fix these, or explain them in an override."
}

# Installs a package that is the same but for a lower version, then the new one, tries it, and purges both.
check_installed() {
    [ "$(id -u)" = 0 ] || fail "Installing a package needs root: run this command with sudo."
    if dpkg-query -W hearthix-mysensors >/dev/null 2>&1; then
        say "the packages are installed on this machine already; they remain as they are, and the new ones are not tried"
        return
    fi
    say "installing, upgrading, trying and purging"
    need systemd mosquitto mosquitto-clients python3-seccomp
    names="hearthix-mysensors hearthix-mysensors-tools"
    for name in $names; do
        dpkg-deb -R "$out/$name"_*_"$arch.deb" "$scratch/old"
        sed -i 's/^Version: .*/Version: 1.0.3/' "$scratch/old/DEBIAN/control"
        dpkg-deb -b "$scratch/old" "$scratch/$name.old.deb" >/dev/null
        rm -r "$scratch/old"
    done
    trap 'dpkg --purge $names >"$scratch/log" 2>&1; rm -rf "$scratch"' EXIT
    logged apt-get install -y "$scratch"/*.old.deb
    logged apt-get install -y "$out"/hearthix-mysensors_*_"$arch.deb" "$out"/hearthix-mysensors-tools_*_"$arch.deb"
    ! dpkg-query -W 'hearthix-mysensors*' | grep -q '1.0.3$' || fail "The new version did not replace the old one."
    # shellcheck disable=SC2086
    dpkg -L $names | grep 'hearthix\|kbdb' >"$scratch/files"
    for test in programs services; do AUTOPKGTEST_TMP=$scratch logged sh tests/package/$test; done
    # shellcheck disable=SC2086
    dpkg --purge $names >/dev/null
    ! xargs ls -d <"$scratch/files" 2>/dev/null || fail "Purging the packages left these files."
}

check_reproducible() {
    say "building again in another folder, time and locale"
    need faketime locales
    localedef -i de_DE -f UTF-8 "$scratch/de_DE.UTF-8"
    mkdir "$scratch/again"
    dpkg-source -x "$out/hearthix-mysensors_$version-1.dsc" "$scratch/again/source" >/dev/null
    logged sh -c "umask 077; cd '$scratch/again/source'; export TZ=Asia/Tokyo LOCPATH='$scratch' LC_ALL=de_DE.UTF-8
        faketime '+400 days' dpkg-buildpackage -b -us -uc"
    for deb in "$out"/*_"$arch.deb"; do
        cmp "$deb" "$scratch/again/${deb##*/}" >&2 || fail "Two builds of the same source differ."
    done
}

# Runs debian/tests in a chroot, and the services there under systemd. piuparts looks for what a purge leaves.
check_chroot() {
    fresh_root "$scratch/root"
    need autopkgtest piuparts systemd-container
    say "autopkgtest"
    mounted "$scratch/root" autopkgtest --quiet "$out"/*_"$arch.deb" "$source" -- chroot "$scratch/root" >&2
    say "piuparts"
    logged piuparts -d bookworm -b "$base" --no-eatmydata "$out"/hearthix-mysensors_*_"$arch.deb" \
        "$out"/hearthix-mysensors-tools_*_"$arch.deb"
    if ! systemd-nspawn -q --register=no --keep-unit -D "$scratch/root" true >/dev/null 2>&1; then
        say "the services were not started, as systemd-nspawn does not work on this machine"
        return
    fi
    say "services under systemd"
    logged systemd-nspawn -q --register=no --keep-unit --private-network \
        --bind-ro "$source:/mnt" -bD "$scratch/root" systemd.run_success_action=exit systemd.run_failure_action=exit \
        systemd.run="sh -c 'cd /mnt; tests/package/services >/dev/console 2>&1'"
}

# Builds the documents' tests and the library of injected faults for $arch, and runs these tests and the programs of the
# packages under qemu-user. Scripts start the emulator, so binfmt is not needed.
emulate() {
    need qemu-user-static
    gnu=$(dpkg-architecture -a"$arch" -qDEB_HOST_GNU_TYPE)
    emulator="qemu-${gnu%%-*}-static -L $root"
    say "documents' tests and programs for $arch"
    logged within "$root" "cd /mnt; apt-get install -y libgtest-dev:$arch
        cmake -S ${source##*/} -B tests -G Ninja -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_CXX_COMPILER=$gnu-g++ \
            -DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST
        cmake --build tests --target document_test hearthix_test_faults"
    # shellcheck disable=SC2086
    logged $emulator "$scratch/tests/bin/document_test"
    for program in hearthix-mysensors hearthix-sim kbdb hearthix-gateway-mqtt; do
        mv "$scratch/packed/usr/bin/$program" "$scratch/$program.$arch"
        printf '#!/bin/sh\nexec %s "$@"\n' "$emulator $scratch/$program.$arch" >"$scratch/packed/usr/bin/$program"
        chmod 755 "$scratch/packed/usr/bin/$program"
    done
    PATH=$scratch/packed/usr/bin:$PATH AUTOPKGTEST_TMP=$scratch logged tests/package/programs
    export HEARTHIX_FAULTS="QEMU_SET_ENV=LD_PRELOAD=$scratch/tests/tests/e2e/libhearthix_test_faults.so"
}

# The end-to-end tests with the packaged driver.
check_driver() {
    for deb in "$out"/hearthix-mysensors*_"$arch.deb"; do dpkg-deb -x "$deb" "$scratch/packed"; done
    [ "$arch" = "$native" ] || emulate
    need_test_tools
    build release e2e_tests
    say "end-to-end tests with the packaged driver"
    HEARTHIX_DRIVER=$scratch/packed/usr/bin/hearthix-mysensors \
        ctest --test-dir build/release/tests/e2e --output-on-failure --progress -j "$jobs"
}
