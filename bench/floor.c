/* The floor under every submission command: just the file work that one mail needs, with no option,
 * no address, no header and no configuration looked at. Standard input goes into a data file as it
 * stands, a state file of the right size is written beside it, there is one fsync, and the marker
 * is made last.
 *
 * Usage: floor DIR ID RECIPIENTS [BLOCK], with DIR holding the directories 00 and locals. With BLOCK
 * no write has more bytes than that: it shows what small writes cost. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

/* The block size of the fastest plain copy; also the state file, which needs only be of its size. */
static char block[262144];
static size_t largest_write = sizeof block;

enum {
    RECORD_SIZE = 658,   /* header, fixed block, version records and the sender's three texts */
    RECIPIENT_SIZE = 64, /* and its address behind that */
    ADDRESS_SIZE = 20
};

static void fail(const char* what) {
    perror(what);
    exit(74);
}

static int make(const char* directory, const char* kind, const char* id) {
    char path[4096];
    snprintf(path, sizeof path, "%s/%s%s", directory, kind, id);
    const int fd = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        fail(path);
    }
    return fd;
}

static void put(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = write(fd, data, size < largest_write ? size : largest_write);
        if (written <= 0) {
            fail("write");
        }
        data += written;
        size -= (size_t)written;
    }
}

int main(int argc, char** argv) {
    if (argc == 5) {
        largest_write = (size_t)atoi(argv[4]);
    }
    if (argc < 4 || argc > 5 || largest_write == 0) {
        return 64;
    }
    const int state = make(argv[1], "00/S", argv[2]);
    const int data = make(argv[1], "00/D", argv[2]);
    if (fchmod(data, 0660) != 0) {
        fail("fchmod");
    }
    ssize_t size;
    while ((size = read(STDIN_FILENO, block, sizeof block)) > 0) {
        put(data, block, (size_t)size);
    }
    if (size < 0) {
        fail("read");
    }
    if (fsync(data) != 0 || close(data) != 0) {
        fail("fsync");
    }
    const size_t wanted = RECORD_SIZE + (size_t)atoi(argv[3]) * (RECIPIENT_SIZE + ADDRESS_SIZE);
    put(state, block, wanted < sizeof block ? wanted : sizeof block);
    if (close(state) != 0 || close(make(argv[1], "locals/", argv[2])) != 0) {
        fail("close");
    }
    return 0;
}
