#!/usr/bin/env bash
# Installs everything Veldrin needs to build, run and test, from Debian packages only.
set -euo pipefail
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
packages=(
  build-essential cmake ninja-build ccache pkg-config clang-format
  qt6-base-dev qt6-base-dev-tools qt6-webengine-dev qt6-webengine-dev-tools
  libqt6webenginecore6-bin qt6-webchannel-dev
  qt6-qpa-plugins qt6-wayland
  qcoro-qt6-dev qtkeychain-qt6-dev
  libcmark-gfm-dev libcmark-gfm-extensions-dev
  libgl-dev
  xvfb xauth dbus dbus-x11 gnome-keyring libsecret-tools
  cyrus-imapd cyrus-caldav cyrus-admin cyrus-clients sasl2-bin
  libsasl2-modules libsasl2-modules-db openssl ca-certificates python3
  fonts-dejavu-core breeze-icon-theme libqt6svg6 qt6-pdf-dev
  xdotool python3-xlib
  curl xdg-utils
)
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${packages[@]}"
