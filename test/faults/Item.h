// What every item consists of: points to try, what is expected at each, and a main.

#ifndef SQLW_FAULTS_ITEM_H
#define SQLW_FAULTS_ITEM_H

#include <functional>
#include <string>
#include <vector>

namespace faults
{

/// One case, under the name that repeats it. Anything that ends the program during the lifetime of
/// a point (an exception, a hang) is a failure of that point.
class Point
{
public:
    explicit Point(const std::string& name, unsigned secondsAtMost = 300);
    ~Point();
    Point(const Point&) = delete;
    Point& operator=(const Point&) = delete;

    const std::string& name() const { return _name; }

    /// Counts a check, and a failure unless it holds. Returns whether it holds.
    bool expect(bool holds, const std::string& what) const;

    /// Runs in a process of its own: limits, mounts and users end with it, and its checks count.
    void inChild(const std::function<void()>& run) const;

private:
    const std::string _name;
};

/// Prints a figure that is worth a place in the table.
[[gnu::format(printf, 1, 2)]] void figure(const char* format, ...);

/// Whether to try the point of this name. An item asks this for each of its points. When one point
/// is repeated, no other is wanted.
bool isWanted(const std::string& name);

/// The body of an item's main. `tryAll` tries every point that is wanted or, if quick, a sample of
/// them that takes seconds. Returns the exit status.
int run(int argc, char** argv, const std::function<void(bool quick)>& tryAll);

/// A point of an item that can list them.
struct Trial
{
    std::string name;
    std::function<void(const Point&)> run;
};

/// The body of main for an item that is a list of points. Quick mode tries them all as well.
int run(int argc, char** argv, const std::vector<Trial>& trials);

/// An empty folder, removed with all that is in it. In memory, unless it must be on a disk.
class Folder
{
public:
    explicit Folder(const char* parent = "/dev/shm");
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::string path;
};

/// All bytes of a file; none when there is no such file.
std::string bytesOf(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);

/// How many file descriptors this process has open.
long openFiles();

} // namespace faults

#endif
