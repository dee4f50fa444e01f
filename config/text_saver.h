// TextSaver: writes a tree of objects in the text format that TextLoader reads, to a stream or in
// place of a file, of which it can keep a rotation of dated copies.
//
//     Server {
//         primaryDomain = "localdomain"
//         services = (log processing)
//         processing = {
//             queueEntryCount = 64
//         }
//     }
//
// Attributes stand in row order, four spaces a level. Each object is held under its read lock while
// it and what it holds is written, so that an update of it waits.
//
// What was saved can be loaded again. What a file cannot hold does not get into one, and is told
// through Thread::log at level 2: a text whose quoted form exceeds 4095 bytes, and a binary string
// whose text does, is written empty, and so is one that would give a server's file a line of more
// than 2048 bytes; control characters other than tab and line ends, and a CR that stands alone, are
// left out of a text; and a choice that its menu does not have is left out as a whole.
//
// Failure: -1 with the error of the step that failed. Whatever fails while a file is saved, its
// old content stands under its own name afterwards, and nothing does where there was no file. A
// process that dies meanwhile leaves the old content under its own name or under that of the copy,
// but for a file that can neither be moved aside nor copied beside itself.
//
// Requires: Config::init. A saver belongs to one thread at a time, and saves any number of times.

#ifndef MORVEX_CONFIG_TEXT_SAVER_H
#define MORVEX_CONFIG_TEXT_SAVER_H

#include "common/stream/file.h"

#include <deque>
#include <string>

namespace HConfig {

class Attribute;
class Object;
class Value;

class TextSaver : public File {
public:
    // Saves `object` in the file `path`, which is copied; the object stays the caller's. With a
    // `count` of 0 the old content goes aside as "<path>.1" during a save and is gone after
    // it. Otherwise it stays beside the file as a copy with the time of the save in its name
    // (morvex-06-30-23:59:00.cfg, by month and day in local time), and at most that many copies
    // stay: those found now beyond that, and later the oldest one, are moved to the folder
    // old_configs of the run directory. Without a run directory, or where the move fails, they
    // stay where they are and are the saver's no more.
    TextSaver(const char* path, Object* object, unsigned count);
    // Saves `object` to an open stream from where it stands. Both stay the caller's.
    TextSaver(Stream* output, Object* object);
    ~TextSaver() override;

    // Saves as the constructor was told. 0, or -1; without an object it is -1 with HE_INVAL.
    //
    // A file that cannot be moved aside, as one that is mounted there or stands in a directory that
    // is not writable, is written in place. Its old content is kept in memory meanwhile, and in the
    // copy where that can be made; if it cannot be read, that fails. The new content has reached
    // the disk before the old one goes.
    int save();
    // Writes the tree to `output`. `name` has no use. 0, or -1, also for objects that nest more
    // than 32 levels deep: HE_CFG_INVALID_OBJECT.
    int save(Stream* output, const char* name);

    bool saveInternal = false; // also write what is INTERNAL; a loader ignores it with a warning
    bool saveOwnLife = true;   // also write the parts with a life of their own

private:
    static constexpr unsigned INDENT_SIZE = 128; // and so the depth
    static constexpr unsigned indentStep = 4;    // spaces per level
    static constexpr char indentUnit[indentStep + 1] = "    ";
    static constexpr int VALUE_SIZE = 4096; // of a value's text with its terminator

    Stream* stream; // of the stream form, or null
    Object* root;
    std::deque<File*> backups;     // the copies that are kept, oldest first; owned
    unsigned backupCount;          // how many to keep
    std::string backupFormat;      // strftime pattern of a copy's path
    char indent[INDENT_SIZE + 1];  // spaces, but for a terminator
    unsigned indentLength = 0;     // where that stands
    unsigned longestLine = 0;      // that the loader takes; 0 for no limit
    const Object* shown = nullptr; // whose attributes are being written

    int saveFile();
    int fillFile(bool overwrites);
    void loadBackupCopies();
    std::string copyPath() const;
    void retireOldest();

    void setIndent(unsigned level);
    bool isSaved(const Attribute& attribute) const;
    int objectDump(Stream* output, const Object* object, unsigned level, bool firstLine);
    int attributesDump(Stream* output, const Object* object, unsigned level);
    int attributeDump(Stream* output, const Object* object, const Attribute& attribute,
                      unsigned level);
    int valueDump(Stream* output, const Attribute& attribute, const Value& value);
    int valueSetDump(Stream* output, const Object* object, const Attribute& attribute);
    int objectSetDump(Stream* output, const Object* object, const Attribute& attribute,
                      unsigned level);
    int memberDump(Stream* output, const Object* object, unsigned level, bool firstLine,
                   unsigned ownLevel);
    bool valueText(const Attribute& attribute, const Value& value, unsigned lineStart, char* text);
    void complain(const Attribute& attribute) const;
    bool hasLongLine(const char* text, unsigned lineStart) const;
};

} // namespace HConfig

#endif
