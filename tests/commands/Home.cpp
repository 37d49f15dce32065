#include "platform/TestHome.h"
