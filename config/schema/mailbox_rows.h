// Attribute rows of mailboxes, their identifiers, access rights and the kept structure of a
// message.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.

#ifndef MORVEX_CONFIG_SCHEMA_MAILBOX_ROWS_H
#define MORVEX_CONFIG_SCHEMA_MAILBOX_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row MboxQuotaRows[] = {
    {"messageCount", UnsignedInt, LIMIT, NO_LIMIT},
    {"messageSize",  UnsignedInt, LIMIT, NO_LIMIT},
};

inline constexpr Row MboxDataRows[] = {
    {"id", UnsignedInt, REQUIRED | KEY},
};

inline constexpr Row MboxConfigRows[] = {
    {"flags",             ChoiseSet, mboxFlags, Uint(0)},
    {"sortType",          Choice,    mboxSortType, Uint(0)},
    {"reverseSortOrder",  Choice,    YesNo, Uint(0)},
    {"groupType",         Choice,    mboxGroupType, Uint(0)},
    {"reverseGroupOrder", Choice,    YesNo, Uint(0)},
    {"specificData",      String},
};

inline constexpr Row MboxBackupRows[] = {
    {"name",           String, StringLength(1024, 0)},
    {"version",        UnsignedInt},
    {"type",           Choice, mboxType, Uint(0)},
    {"idValidity",     UnsignedInt},
    {"nextId",         UnsignedInt},
    {"modificationId", UnsignedInt},
};

inline constexpr Row MboxContainerQuotaRows[] = {
    {"mboxCount",         UnsignedInt, LIMIT, NO_LIMIT},
    {"totalMessageCount", UnsignedInt, LIMIT, NO_LIMIT},
    {"totalMessageSize",  UnsignedInt, LIMIT, NO_LIMIT},
    {"messageCount",      UnsignedInt, LIMIT, NO_LIMIT},
    {"messageSize",       UnsignedInt, LIMIT, NO_LIMIT},
};

inline constexpr Row NameIdRows[] = {
    {"guid",       String,      KEY},
    {"intKind",    UnsignedInt, KEY},
    {"stringKind", String,      KEY},
    {"id",         UnsignedInt},
};

inline constexpr Row NameIdRepositoryRows[] = {
    {"elements", OS(NameId)},
};

inline constexpr Row MboxIdRows[] = {
    {"ownerId",  UnsignedInt, REQUIRED | KEY},
    {"folderId", UnsignedInt, REQUIRED | KEY},
};

inline constexpr Row PermissionRows[] = {
    {"principalID",   UnsignedInt, REQUIRED | KEY},
    {"principalName", String},
    {"allowMask",     UnsignedInt},
    {"denyMask",      UnsignedInt},
};

inline constexpr Row PermissionSetRows[] = {
    {"records", OS(Permission)},
};

inline constexpr Row PermissionRecordRows[] = {
    {"resourceGID", UnsignedInt, REQUIRED | KEY},
    {"resourceID",  UnsignedInt, REQUIRED | KEY},
    {"principalID", UnsignedInt, REQUIRED | KEY},
    {"allowMask",   UnsignedInt},
    {"denyMask",    UnsignedInt},
    {"storageId",   UnsignedInt},
};

inline constexpr Row PermissionRecordRepositoryRows[] = {
    {"records", OS(PermissionRecord)},
};

inline constexpr Row ChunkCoordinatesRows[] = {
    {"offset", UnsignedInt},
    {"size",   UnsignedInt},
};

inline constexpr Row CanonizedHeaderRows[] = {
    {"name",   String, KEY},
    {"stream", O(ChunkCoordinates)},
};

inline constexpr Row CanonizedMailRows[] = {
    {"body",    O(ChunkCoordinates)},
    {"headers", OS(CanonizedHeader)},
};

// clang-format on

} // namespace HConfig::schema

#endif
