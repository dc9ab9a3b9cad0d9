#include "app/AppDelegate.h"

AppDelegate::AppDelegate(const Hardware &hardware)
    : flowConroller(hardware)
{
}

void AppDelegate::applicationDidFinishLaunching()
{
    flowConroller.start();
}
