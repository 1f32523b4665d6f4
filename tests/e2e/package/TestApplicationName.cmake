# The name for desktops that each site's host gives.
foreach(row
        "wayfar.example=example.wayfar.Installer"
        "Play.Wayfar-Guides.Example:8443=example.wayfar_guides.play.Installer"
        "7roads.example=example._7roads.Installer"
        "localhost=localhost.Installer")
    string(REPLACE "=" ";" row "${row}")
    list(GET row 0 WAYFAR_SITE_HOST)
    list(GET row 1 expected)
    include(${CMAKE_CURRENT_LIST_DIR}/../../../cmake/WayfarIdentity.cmake)
    if(NOT WAYFAR_APPLICATION_ID STREQUAL expected)
        message(SEND_ERROR "${WAYFAR_SITE_HOST} gives ${WAYFAR_APPLICATION_ID} and not ${expected}")
    endif()
endforeach()
