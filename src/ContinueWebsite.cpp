// CQZWebsite::ContinueWebsite: kept in the interface; it does nothing.
#include "CQZWebsite.h"

char CQZWebsite::ContinueWebsite(const char* /*Name*/) { return 0; }
