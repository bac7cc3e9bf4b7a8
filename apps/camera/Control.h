#pragma once

/// How a program that runs with simulated cameras steers them while it runs. It finds these functions in itself, with
/// dlsym(RTLD_DEFAULT, ...), and not at all where nothing is simulated. Any thread may call them.
extern "C" {

/// Unplugs all cameras and plugs in those that the text describes. Returns 0, or -1 if it makes no sense.
int vantiflux_cameras_configure(const char* text);

/// Unplugs a camera from under those who have it open, and plugs it in again.
void vantiflux_camera_unplug(unsigned number);

/// How often a request, such as "STREAMOFF", was made of a camera since it was configured.
unsigned vantiflux_camera_calls(unsigned number, const char* request);

/// How many have a camera open now.
unsigned vantiflux_camera_openings(unsigned number);
}
