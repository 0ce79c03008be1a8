#!/bin/bash
# Checks of the recipes for Yocto and Buildroot what their own tools are not needed for: versions,
# sums of the licence, and that Buildroot's menu and makefile can be read and find the tree.
# Needs make and python3-kconfiglib.
set -euo pipefail
cd "$(dirname "$0")/.."
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
recipe=packaging/yocto/recipes-support/vimo-util/vimo-util_$version.bb
package=packaging/buildroot/package/vimo-util/vimo-util

grep -q "md5=$(md5sum <LICENSE | cut -d' ' -f1)\"" "$recipe"
sha256sum --check --quiet <(sed -n 's/^sha256  //p' $package.hash)
[ -f "$(dirname "$recipe")/../../../../CMakeLists.txt" ]

export BR2_EXTERNAL_VIMO_UTIL_PATH=packaging/buildroot
[ "$(make -sf - <<'END'
include packaging/buildroot/external.mk
all:
	@test -f $(VIMO_UTIL_SITE)/LICENSE && echo $(VIMO_UTIL_VERSION)
END
)" = "$version" ]
mkdir -p build
printf 'config BR2_%s\n\tdef_bool y\n' \
  INSTALL_LIBSTDCPP TOOLCHAIN_USES_GLIBC TOOLCHAIN_GCC_AT_LEAST_9 |
  cat - packaging/buildroot/Config.in >build/Config.in
/usr/bin/python3 -c '
import kconfiglib
option = kconfiglib.Kconfig("build/Config.in").syms["BR2_PACKAGE_VIMO_UTIL"]
option.set_value("y")
assert option.str_value == "y"'
