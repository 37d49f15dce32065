#include "OS/testing/ForwardingFileMgr.h"

ForwardingFile::~ForwardingFile() = default;

ForwardingFileMgr::~ForwardingFileMgr() = default;
