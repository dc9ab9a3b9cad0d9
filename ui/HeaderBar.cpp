#include "ui/HeaderBar.h"
