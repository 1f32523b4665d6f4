# The one name by which desktops know the program, in its menu entry, icons and windows: the site's host reversed, as in
# "example.wayfar.Installer". A desktop allows no hyphen in it, and no digit at the beginning of a part.
string(REGEX REPLACE ":.*" "" WAYFAR_APPLICATION_ID "${WAYFAR_SITE_HOST}")
string(TOLOWER "${WAYFAR_APPLICATION_ID}" WAYFAR_APPLICATION_ID)
string(REPLACE "." ";" WAYFAR_APPLICATION_ID "${WAYFAR_APPLICATION_ID}")
list(REVERSE WAYFAR_APPLICATION_ID)
list(APPEND WAYFAR_APPLICATION_ID Installer)
list(TRANSFORM WAYFAR_APPLICATION_ID REPLACE "-" "_")
list(TRANSFORM WAYFAR_APPLICATION_ID REPLACE "^[0-9]" "_\\0")
list(JOIN WAYFAR_APPLICATION_ID "." WAYFAR_APPLICATION_ID)

# SOURCE_DATE_EPOCH's, where it is set.
string(TIMESTAMP WAYFAR_RELEASE_DATE "%Y-%m-%d" UTC)
string(TIMESTAMP WAYFAR_RELEASE_TIME "%a, %d %b %Y %H:%M:%S +0000" UTC)
