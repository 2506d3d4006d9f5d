# What scripts/install and scripts/uninstall have in common. Sourced by bash, with `prefix` set.

# Where this prefix keeps its record, which folders of the user belong to it, and whether a session looks into it at all.
find_places() {
    local config=${XDG_CONFIG_HOME:-$HOME/.config} units=systemd/user/graphical-session.target.wants
    manifest=$prefix/lib/zun/installed
    caches=("$prefix/share/applications/mimeinfo.cache" "$prefix/share/icons/hicolor/icon-theme.cache")
    login_item=$config/autostart/com.zunlabs.Zun.desktop
    is_searched=
    case :${XDG_DATA_HOME:-$HOME/.local/share}:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}: in
        *:"$prefix/share":* | *:"$prefix/share/":*) is_searched=yes ;;
    esac
    case $prefix in
        /usr | /usr/local) wants=/etc/$units ;;
        *) wants=${is_searched:+$config/$units} ;;
    esac
}

# Lets the desktop's caches of entries and icons know what is there now. Icons are found without a cache, so none is made where there
# was none.
refresh_caches() {
    if [ -d "$prefix/share/applications" ] && command -v update-desktop-database >/dev/null; then
        update-desktop-database -q "$prefix/share/applications" || true
    fi
    if [ -f "$prefix/share/icons/hicolor/icon-theme.cache" ] && command -v gtk-update-icon-cache >/dev/null; then
        gtk-update-icon-cache -qtf "$prefix/share/icons/hicolor" || true
    elif [ -d "$prefix/share/icons/hicolor" ]; then
        touch "$prefix/share/icons/hicolor"
    fi
}

# bus_call METHOD [ARGUMENT...]: asks the session bus itself; fails without one.
bus_call() {
    command -v dbus-send >/dev/null || return 1
    local method=$1
    shift
    timeout 20 dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        "org.freedesktop.DBus.$method" "$@" 2>/dev/null
}

user_manager() {
    command -v systemctl >/dev/null && timeout 30 systemctl --user "$@" >/dev/null 2>&1
}

# Makes a running session read the bus services and the units again.
reload_session() {
    bus_call ReloadConfig >/dev/null || true
    user_manager daemon-reload || true
}

# Ends the alert service, whoever started it.
stop_alerts() {
    user_manager stop zun-alerts.service || true
    local pid
    pid=$(bus_call GetConnectionUnixProcessID string:com.zunlabs.Zun.Alerts | awk '{ print $NF }') || return 0
    [ -z "$pid" ] || kill "$pid" 2>/dev/null || true
}

# Starts it anew, so that it is the installed one that runs. Without a user manager the bus does it.
start_alerts() {
    stop_alerts
    user_manager start zun-alerts.service || bus_call StartServiceByName string:com.zunlabs.Zun.Alerts uint32:0 >/dev/null ||
        echo "There is no session just now: alerts begin with the next login."
}
