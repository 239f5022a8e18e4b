#pragma once

#include <dirent.h>
#include <sys/stat.h>

#include "OpenFds.h"

// The inode an fd refers to, to tell a duplicate of the same file from another file.
inline ino_t inodeOf(int fd) {
    struct stat st {};
    return fstat(fd, &st) == 0 ? st.st_ino : 0;
}
