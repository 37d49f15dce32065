#include "OS/Desktop.h"

iDesktop::~iDesktop() = default;
