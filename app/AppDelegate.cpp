#include "app/AppDelegate.h"

AppDelegate::AppDelegate(VolumeSource &volumes)
    : flowConroller(volumes)
{
}

void AppDelegate::applicationDidFinishLaunching()
{
    flowConroller.start();
}
