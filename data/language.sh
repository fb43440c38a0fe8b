# For sh: sets LANG to the spelling of the nearest language that Relay Hub speaks. The system's spelling may differ
# (de_AT, es_ES.utf8, C); where the user's language has no catalogue, the first one of LANGUAGE that has is taken.
relay_hub_nearest_language() {
    case $1 in
        de*) echo de_DE ;;
        es*) echo es_AR ;;
        fr*) echo fr_FR ;;
        it*) echo it_IT ;;
        ja*) echo ja_JP ;;
        ko*) echo ko_KR ;;
        pt_BR*) echo pt_BR ;;
        pt*) echo pt_PT ;;
        ru*) echo ru_RU ;;
        zh_TW* | zh_HK* | zh_MO* | zh_Hant*) echo zh_TW ;;
        zh*) echo zh_CN ;;
        en*) echo en_US ;;
    esac
}
relay_hub_set_language() {
    set -- "${LC_ALL:-${LC_MESSAGES:-${LANG:-}}}"
    case $1 in '' | C | C.* | POSIX) ;; *) set -- "$1" $(printf %s "${LANGUAGE:-}" | tr : ' ') ;; esac
    for relay_hub_language; do
        LANG=$(relay_hub_nearest_language "$relay_hub_language")
        [ -z "$LANG" ] || break
    done
    LANG=${LANG:-en_US}.UTF-8
    export LANG
}
relay_hub_set_language
