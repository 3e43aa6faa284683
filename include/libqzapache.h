// libqzapache: the web-server module of the hosting panel. Include this
// header alone to get the whole public interface.
#ifndef LIBQZAPACHE_H
#define LIBQZAPACHE_H

#include "QZTypes.h"
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
