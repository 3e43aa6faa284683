// CQZWebsite::ContinueWebsite: kept in the interface; it does nothing.
#include "CQZWebsite.h"
#include "QZResults.h"

char CQZWebsite::ContinueWebsite(const char* /*Name*/) { return qz::result::website::NothingDone; }
