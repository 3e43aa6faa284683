// libqzapache: the web-server module of the hosting panel. Include this
// header alone to get the whole public interface.
//
// Concurrent callers and faults. Every operation that writes, moves or
// removes a file or folder holds an exclusive flock on
// <system root>/run/lock/qzapache.lock for its whole run, so the callers of
// several processes and threads take turns; an operation that calls another
// takes it once. Queries take no lock: a file is replaced only by renaming
// a whole scratch file over it (never deleted first), and appends add whole
// lines at its end, cut back when they fail.
// When the lock file cannot be opened, one line says so on standard output
// and the operation runs unlocked. A scratch file that cannot be written
// whole (a full disk, an I/O error, a file-size limit) is never moved over
// its file: it is deleted, the file stays byte-identical, and the operation
// returns the result its declaration gives for a scratch file that cannot be
// opened. A scratch file reaches the disk before its "mv", and the file and
// its folder entry after it. An append that cannot be written whole is taken
// back.
#ifndef LIBQZAPACHE_H
#define LIBQZAPACHE_H

#include "QZTypes.h"
#include "QZResults.h"
#include "CQZTrackManager.h"
#include "QZCommon.h"
#include "QZSystemRoot.h"
#include "CQZWebsite.h"
#include "CQZVirtualDirectory.h"
#include "CQZUsers.h"
#include "PrivateFolder.h"
#include "ApacheHelper.h"
#include "FileHandling.h"
#include "AddonManagers.h"

#endif
