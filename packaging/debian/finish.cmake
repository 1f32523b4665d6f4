# What Debian's policy asks for and no other installation wants, in the tree that is about to be packed.
set(share ${CPACK_TEMPORARY_DIRECTORY}/usr/share)
set(doc ${share}/doc/wayfar-installer)
file(REMOVE ${doc}/LICENSE)
file(COPY ${CPACK_WAYFAR_DOCUMENTS}/copyright DESTINATION ${doc})
file(RENAME ${doc}/CHANGELOG.md ${doc}/changelog)
file(COPY_FILE ${CPACK_WAYFAR_DOCUMENTS}/changelog ${doc}/changelog.Debian)
file(GLOB pages ${share}/man/man*/*)
execute_process(COMMAND gzip -9n ${doc}/changelog ${doc}/changelog.Debian ${pages} COMMAND_ERROR_IS_FATAL ANY)
# The same commit gives the same bytes.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} +
        COMMAND_ERROR_IS_FATAL ANY)
endif()
