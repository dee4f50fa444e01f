// The tree of configuration classes, one row a class, in the order of the registry. Everything
// that needs a class by name is made from this list: the uids, the description rows of
// config/schema/catalogue.cpp and the object classes that mirror the tree.
//
// A row is   NAME (uid, attribute rows, C++ class, base class)
//
// with `Object` for a class that has no base. A base stands before the classes that build on it.
// The count is that of all attribute rows, inherited ones included; the catalogue does not compile
// when its rows give another. Uids are stable and unique, and not dense. An ABSTRACT class has no
// instances: it only carries rows for others.
//
// In text files a class has the name of its C++ class, but for those of the second list.

#ifndef MORVEX_CONFIG_SCHEMA_CLASS_TREE_H
#define MORVEX_CONFIG_SCHEMA_CLASS_TREE_H

// clang-format off
#define MORVEX_CONFIG_CLASSES(CONCRETE, ABSTRACT)                                                 \
    CONCRETE(  2,   3, IpRule,                           Object)                                  \
    CONCRETE(  3,   9, TcpRule,                          IpRule)                                  \
    CONCRETE(  5,   9, SslControl,                       Object)                                  \
    ABSTRACT(  6,   2, IpListener,                       Object)                                  \
    CONCRETE(  7,   2, UdpListener,                      IpListener)                              \
    CONCRETE(  8,  13, TcpListener,                      IpListener)                              \
    CONCRETE(  9,  14, ProxyTcpListener,                 TcpListener)                             \
    CONCRETE( 10,   8, ServiceAccessControl,             Object)                                  \
    CONCRETE( 34,  37, Server,                           Object)                                  \
    CONCRETE( 35,   5, ServerRegistry,                   Object)                                  \
    ABSTRACT( 64,   3, Service,                          Object)                                  \
    ABSTRACT( 65,   3, UdpService,                       Service)                                 \
    ABSTRACT( 66,   4, UdpServerService,                 UdpService)                              \
    CONCRETE( 76,   6, LogService,                       UdpServerService)                        \
    CONCRETE( 70,  15, ReportingService,                 UdpServerService)                        \
    CONCRETE( 72,   7, DnrService,                       UdpService)                              \
    ABSTRACT( 67,   5, TcpService,                       Service)                                 \
    ABSTRACT( 68,   9, TcpServerService,                 TcpService)                              \
    CONCRETE( 89,  17, Pop3Service,                      TcpServerService)                        \
    CONCRETE(101,  10, FtpService,                       TcpServerService)                        \
    CONCRETE( 96,  17, ImapService,                      TcpServerService)                        \
    ABSTRACT( 97,  17, WebService,                       TcpServerService)                        \
    CONCRETE( 98,  34, WebMailService,                   WebService)                              \
    CONCRETE( 99,  18, WebAdminService,                  WebService)                              \
    CONCRETE(100,  10, CliService,                       TcpServerService)                        \
    CONCRETE( 80,   5, SmtpOutService,                   TcpService)                              \
    CONCRETE( 81,   5, RpopService,                      TcpService)                              \
    ABSTRACT(512,  12, MappingTcpServerService,          TcpService)                              \
    ABSTRACT(513,  13, ProxyTcpServerService,            MappingTcpServerService)                 \
    CONCRETE(514,  16, ProxyPop3Service,                 ProxyTcpServerService)                   \
    CONCRETE(515,  16, ProxyImapService,                 ProxyTcpServerService)                   \
    CONCRETE(520,  29, WebmailProxyService,              ProxyTcpServerService)                   \
    CONCRETE( 88,  14, SmtpInService,                    MappingTcpServerService)                 \
    CONCRETE( 69,  14, ProcService,                      Service)                                 \
    CONCRETE(102,   5, UserDbService,                    Service)                                 \
    CONCRETE( 43,   4, Filters,                          Service)                                 \
    CONCRETE(521,   4, ClusterSettings,                  Object)                                  \
    CONCRETE(516,   3, MappingData,                      Object)                                  \
    CONCRETE(517,   4, ConnectionData,                   Object)                                  \
    CONCRETE(518,   5, UserMap,                          Object)                                  \
    CONCRETE(115,   3, UrlRedirect,                      Object)                                  \
    CONCRETE(119,   2, HostNameResolver,                 Object)                                  \
    CONCRETE(126,   4, AutodiscoveryUrl,                 Object)                                  \
    CONCRETE(117,  10, LogRule,                          Object)                                  \
    CONCRETE( 37,   3, ScriptFilter,                     Object)                                  \
    CONCRETE( 38,   7, SocketFilter,                     Object)                                  \
    CONCRETE( 39,   2, ActiveFilter,                     Object)                                  \
    CONCRETE( 40,   4, ServerActiveFilter,               ActiveFilter)                            \
    CONCRETE(144,   4, DomainActiveFilter,               ActiveFilter)                            \
    CONCRETE(256,   4, AccountActiveFilter,              ActiveFilter)                            \
    CONCRETE( 44,   6, IntegratedFilter,                 Object)                                  \
    CONCRETE( 45,   2, IntegratedFilterParam,            Object)                                  \
    CONCRETE(120,   4, DnrNameServer,                    Object)                                  \
    CONCRETE(121,   3, ReportingTemplate,                Object)                                  \
    CONCRETE(122,   4, ReportingDatabase,                Object)                                  \
    CONCRETE(123,  11, ReportingGraphic,                 Object)                                  \
    CONCRETE(125,   7, ReportingParameter,               Object)                                  \
    CONCRETE(124,  28, LdapConnector,                    Object)                                  \
    CONCRETE(128,  39, Domain,                           Object)                                  \
    CONCRETE(145,   8, DomainMigrationData,              Object)                                  \
    CONCRETE(149,   4, DomainPasswordEnforcement,        Object)                                  \
    CONCRETE(146,   3, PublicFolder,                     Object)                                  \
    CONCRETE(147,   8, DSParams,                         Object)                                  \
    CONCRETE(129,   5, DomainObject,                     Object)                                  \
    CONCRETE(130,  11, Account,                          DomainObject)                            \
    CONCRETE(131,  19, UserV41,                          Account)                                 \
    CONCRETE(132,  40, Maillist,                         Account)                                 \
    CONCRETE(133,  14, Group,                            DomainObject)                            \
    CONCRETE(134,   8, FolderRecipient,                  DomainObject)                            \
    CONCRETE(771,   3, DelegateAssignment,               Object)                                  \
    CONCRETE(135,  32, User,                             Object)                                  \
    CONCRETE(148,  11, DomainWebmailData,                Object)                                  \
    CONCRETE(257,  13, AccountWebmailData,               DomainWebmailData)                       \
    CONCRETE(272,  30, UserWebmailData,                  AccountWebmailData)                      \
    CONCRETE(288,  15, MaillistWebmailData,              AccountWebmailData)                      \
    CONCRETE(258,  20, AccountLimits,                    Object)                                  \
    CONCRETE(279,  22, UserLimitsV41,                    AccountLimits)                           \
    CONCRETE(290,  20, MaillistLimits,                   AccountLimits)                           \
    CONCRETE(259,   2, SubscribedFolder,                 Object)                                  \
    CONCRETE(260,   3, SharedFolderProvider,             Object)                                  \
    CONCRETE(275,  11, RpopConnection,                   Object)                                  \
    CONCRETE(276,   2, VacationMap,                      Object)                                  \
    CONCRETE(289,   2, MaillistUser,                     Object)                                  \
    CONCRETE(291,   3, GroupMember,                      Object)                                  \
    CONCRETE(311,   2, MboxQuota,                        Object)                                  \
    CONCRETE(304,   3, MboxData,                         MboxQuota)                               \
    CONCRETE(313,   8, MboxConfig,                       MboxQuota)                               \
    CONCRETE(314,  14, MboxBackup,                       MboxConfig)                              \
    CONCRETE(305,   5, MboxContainerQuota,               Object)                                  \
    CONCRETE(306,  35, ContactInfo,                      Object)                                  \
    CONCRETE(307,  38, Contact,                          ContactInfo)                             \
    CONCRETE(308,   2, ContactDetail,                    Object)                                  \
    CONCRETE(309,   4, NameId,                           Object)                                  \
    CONCRETE(310,   1, NameIdRepository,                 Object)                                  \
    CONCRETE(315,   2, MboxId,                           Object)                                  \
    CONCRETE(320,  54, UserLimitsSetting,                Object)                                  \
    CONCRETE(321, 108, UserLimits,                       UserLimitsSetting)                       \
    CONCRETE(322,  14, UserQuotaSetting,                 Object)                                  \
    CONCRETE(323,  28, UserQuota,                        UserQuotaSetting)                        \
    CONCRETE(324,   3, UserFiltersSetting,               Object)                                  \
    CONCRETE(325,   4, UserFilters,                      UserFiltersSetting)                      \
    CONCRETE(326,   6, UserSendRecvRestrictionsSetting,  Object)                                  \
    CONCRETE(327,  12, UserSendRecvRestrictions,         UserSendRecvRestrictionsSetting)         \
    CONCRETE(331,   6, UserWebmailAdvertisingSetting,    Object)                                  \
    CONCRETE(332,  12, UserWebmailAdvertising,           UserWebmailAdvertisingSetting)           \
    CONCRETE(328,   8, UserClass,                        Object)                                  \
    CONCRETE(329,  36, DomainAdminLimits,                Object)                                  \
    CONCRETE(330,   2, TemporaryAlias,                   Object)                                  \
    CONCRETE(336,   4, Permission,                       Object)                                  \
    CONCRETE(337,   1, PermissionSet,                    Object)                                  \
    CONCRETE(338,   6, PermissionRecord,                 Object)                                  \
    CONCRETE(339,   1, PermissionRecordRepository,       Object)                                  \
    ABSTRACT(340,   4, LdapObject,                       Object)                                  \
    CONCRETE(341, 201, LdapUser,                         LdapObject)                              \
    CONCRETE(342,   6, LdapGroup,                        LdapObject)                              \
    CONCRETE(343,   2, LdapGroupMember,                  Object)                                  \
    CONCRETE(344,  28, LdapSchema,                       Object)                                  \
    CONCRETE(345,   2, LdapSchemaMorvexMapping,          Object)                                  \
    CONCRETE(346,   2, LdapSchemaLdapMapping,            Object)                                  \
    CONCRETE(768,   2, ChunkCoordinates,                 Object)                                  \
    CONCRETE(769,   2, CanonizedHeader,                  Object)                                  \
    CONCRETE(770,   2, CanonizedMail,                    Object)                                  \
    CONCRETE(333,   2, PasswordHistory,                  Object)                                  \
    CONCRETE(150,   3, DomainBackupLabel,                Object)

#define MORVEX_CONFIG_CLASS_NAMES(NAMED)                                                          \
    NAMED(SslControl,              "SSLControl")                                                  \
    NAMED(IpListener,              "IPListener")                                                  \
    NAMED(UdpListener,             "UDPListener")                                                 \
    NAMED(TcpListener,             "TCPListener")                                                 \
    NAMED(ProxyTcpListener,        "ProxyTCPListener")                                            \
    NAMED(Service,                 "service")                                                     \
    NAMED(UdpService,              "UDPService")                                                  \
    NAMED(UdpServerService,        "UDPServerService")                                            \
    NAMED(DnrService,              "DNRService")                                                  \
    NAMED(TcpService,              "TCPService")                                                  \
    NAMED(TcpServerService,        "TCPServerService")                                            \
    NAMED(Pop3Service,             "POP3Service")                                                 \
    NAMED(FtpService,              "FTPBackupService")                                            \
    NAMED(ImapService,             "IMAPService")                                                 \
    NAMED(CliService,              "CLIService")                                                  \
    NAMED(SmtpOutService,          "SMTPOutService")                                              \
    NAMED(RpopService,             "RPOPService")                                                 \
    NAMED(MappingTcpServerService, "MappingTCPServerService")                                     \
    NAMED(ProxyTcpServerService,   "ProxyTCPServerService")                                       \
    NAMED(ProxyPop3Service,        "ProxyPOP3Service")                                            \
    NAMED(ProxyImapService,        "ProxyIMAPService")                                            \
    NAMED(SmtpInService,           "SMTPInService")                                               \
    NAMED(ProcService,             "ProcessingService")                                           \
    NAMED(UserDbService,           "USERDBService")                                               \
    NAMED(ClusterSettings,         "clusterSettings")                                             \
    NAMED(DnrNameServer,           "DNRNameServer")                                               \
    NAMED(RpopConnection,          "RPOPConnection")                                              \
    NAMED(ContactInfo,             "ContactInformation")
// clang-format on

#endif
