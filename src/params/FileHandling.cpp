// FileHandling construction: the toolkit holds nothing.
#include "FileHandling.h"

FileHandling::FileHandling() {}

FileHandling::~FileHandling() {}
