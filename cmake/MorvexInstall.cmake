# What "cmake --install" puts where, in two components:
#     command       the command, its manual pages, completion and documents
#     development   the static libraries, their public headers, the CMake package, the pkg-config
#                   files and the example program
# Headers keep their place in the tree under include/morvex, which is the include directory of
# whoever uses them: "queue/mail_queue.h" here and there. What is not listed is the libraries' own.

include(CMakePackageConfigHelpers)

# A command for every user, with the rights of its caller: never setuid or setgid.
install(TARGETS postdock RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT command)

set(MORVEX_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/morvex)
set(MORVEX_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Morvex)
set(MORVEX_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The way from a directory of the installed tree back to its root, so that the tree may move.
file(RELATIVE_PATH MORVEX_PC_PREFIX /${MORVEX_PKGCONFIG_DIR} /)
string(REGEX REPLACE "/$" "" MORVEX_PC_PREFIX "${MORVEX_PC_PREFIX}")

# morvex_install_library(NAME DESCRIPTION text [REQUIRES lib] [REQUIRES_PRIVATE package]
# [LIBS flag...] HEADERS file...): the library morvex_NAME as Morvex::NAME and as pkg-config's
# morvex-NAME.
function(morvex_install_library name)
    cmake_parse_arguments(ARG "" "DESCRIPTION;REQUIRES;REQUIRES_PRIVATE" "HEADERS;LIBS" ${ARGN})
    set_target_properties(morvex_${name} PROPERTIES EXPORT_NAME ${name})
    install(TARGETS morvex_${name} EXPORT MorvexTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        INCLUDES DESTINATION ${MORVEX_INCLUDE_DIR})
    foreach(header ${ARG_HEADERS})
        cmake_path(GET header PARENT_PATH folder)
        install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${MORVEX_INCLUDE_DIR}/${folder}
            COMPONENT development)
    endforeach()

    list(TRANSFORM ARG_REQUIRES PREPEND morvex-)
    list(JOIN ARG_LIBS " " ARG_LIBS)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/morvex.pc.in
        ${PROJECT_BINARY_DIR}/package/morvex-${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/package/morvex-${name}.pc
        DESTINATION ${MORVEX_PKGCONFIG_DIR} COMPONENT development)
endfunction()

set(MORVEX_DL_FLAG ${CMAKE_DL_LIBS})
list(TRANSFORM MORVEX_DL_FLAG PREPEND -l)
morvex_install_library(common
    DESCRIPTION "The Morvex runtime: streams, containers, log, threads and locks"
    LIBS -pthread ${MORVEX_DL_FLAG}
    HEADERS
        common/aptr.h
        common/castable.h
        common/container/crc32.h
        common/container/hvector.h
        common/container/key.h
        common/container/rb_tree.h
        common/container/simple_vector.h
        common/error.h
        common/error_codes.inc
        common/hexcept.h
        common/log/abstract_log_client.h
        common/log/log.h
        common/log/log_client.h
        common/log/log_line.h
        common/log/thread_log.h
        common/log/thread_log_client.h
        common/stream/buffered_reader.h
        common/stream/buffered_writer.h
        common/stream/chunker_stream.h
        common/stream/composable_stream.h
        common/stream/counter_stream.h
        common/stream/crc_stream.h
        common/stream/descriptor.h
        common/stream/directory.h
        common/stream/fd_stream.h
        common/stream/file.h
        common/stream/filter_stream.h
        common/stream/host_name.h
        common/stream/memory_stream.h
        common/stream/null_stream.h
        common/stream/stream.h
        common/stream/wrap_stream.h
        common/thread/async_object.h
        common/thread/critical_section.h
        common/thread/foreign_thread.h
        common/thread/multi_thread_cs.h
        common/thread/object_pool.h
        common/thread/reentrant_cs.h
        common/thread/ref_object.h
        common/thread/ref_rw_object.h
        common/thread/rw_lock_objs.h
        common/thread/rw_object.h
        common/thread/string_pool.h
        common/thread/sync_provider.h
        common/thread/thread.h
        common/thread/thread_specific_key.h
)
morvex_install_library(message
    DESCRIPTION "The Morvex message model: headers, lines, dates, encoded words, codecs"
    REQUIRES common
    REQUIRES_PRIVATE icu-uc
    HEADERS
        message/base64.h
        message/charset.h
        message/date_matcher.h
        message/encoded_word.h
        message/folded_line_tokenizer.h
        message/header_field.h
        message/line_tokenizer.h
        message/mail_date.h
        message/mail_msg.h
        message/protocol_matcher.h
        message/qp.h
        message/text_checks.h
        message/tokenizer.h
)
morvex_install_library(values
    DESCRIPTION "Date and time values, internet addresses and sockets of the Morvex server"
    REQUIRES message
    HEADERS
        common/net/inet_addr.h
        common/net/inet_addr_key.h
        common/net/inet_socket.h
        common/net/socket.h
        common/time/date_time.h
        common/time/my_timegm.h
        common/time/simple_date.h
        common/time/time_of_day.h
)
morvex_install_library(address
    DESCRIPTION "Mail address lists, their grammars and the checks of stored names"
    REQUIRES values
    HEADERS
        address/address.h
        address/address_list.h
        address/domainname.h
        address/mbox_name.h
        address/username.h
        address/utils.h
)
morvex_install_library(config
    DESCRIPTION "The Morvex server's configuration: schema, objects, text form"
    REQUIRES address
    HEADERS
        config/arena.h
        config/binary_string.h
        config/calendar.h
        config/callback.h
        config/classes.h
        config/config.h
        config/constraint.h
        config/default.h
        config/flex_lexer.h
        config/mail_search.h
        config/menu.h
        config/object.h
        config/object_marker.h
        config/object_set.h
        config/query_result.h
        config/registry.h
        config/schema/class_tree.h
        config/schema_desc.h
        config/text_loader.h
        config/text_saver.h
        config/value.h
        config/value_set.h
        config/value_type.h
)
morvex_install_library(queue
    DESCRIPTION "The Morvex server's mail queue on the disk"
    REQUIRES values
    HEADERS
        queue/incoming_stream.h
        queue/mail_item.h
        queue/mail_queue.h
        queue/mail_shepherd.h
        queue/record_format.h
)

install(EXPORT MorvexTargets NAMESPACE Morvex:: DESTINATION ${MORVEX_PACKAGE_DIR}
    COMPONENT development)
configure_package_config_file(cmake/MorvexConfig.cmake.in
    ${PROJECT_BINARY_DIR}/package/MorvexConfig.cmake INSTALL_DESTINATION ${MORVEX_PACKAGE_DIR})
# What is static is built in: a program that was built against one version stays with it.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/MorvexConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
        ${PROJECT_BINARY_DIR}/package/MorvexConfig.cmake
        ${PROJECT_BINARY_DIR}/package/MorvexConfigVersion.cmake
    DESTINATION ${MORVEX_PACKAGE_DIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libmorvex-dev
    COMPONENT development PATTERN build EXCLUDE)
