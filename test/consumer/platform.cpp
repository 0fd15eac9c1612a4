// A program's own platform: it holds no trace level, and takes no notice of assertion reports.

struct TraceObject;

extern "C" {
TraceObject* g_traceObject = nullptr;
void logAssertFailed(const char* /*expression*/, const char* /*path*/, int /*line*/,
                     const char* /*function*/)
{}
}
