// The roster: one listening instance per signature in a private socket
// folder, messages and replies over framed connections, stale sockets
// replaced, bad peers and bad bytes refused, and detached launches that
// hand over their launch message.
#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <linux/capability.h>
#include <poll.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "PlatformTestSupport.h"
#include "StorageTestSupport.h"
#include "core/Message.h"
#include "platform/FramedSocket.h"
#include "platform/LaunchMessage.h"
#include "platform/Roster.h"
#include "platform/RosterListener.h"
#include "platform/RuntimeFolder.h"

namespace {

constexpr const char* kSignature = "application/x-vnd.QZ-RosterTest";
constexpr uint32_t kTestWhat = MakeTypeCode('T', 'e', 's', 't');

bool FileExists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

// A socket at path: bound, or (connect) connected to a listener there.
int UnixSocket(const std::string& path, bool connectIt)
{
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof(address.sun_path), "%s", path.c_str());
    auto* where = reinterpret_cast<sockaddr*>(&address);
    if ((connectIt ? connect(fd, where, sizeof(address)) : bind(fd, where, sizeof(address))) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

int ConnectTo(const std::string& path)
{
    return UnixSocket(path, true);
}

void SendRaw(int fd, const std::vector<uint8_t>& bytes)
{
    ASSERT_EQ(send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), ssize_t(bytes.size()));
}

std::vector<uint8_t> Frame(const std::vector<uint8_t>& payload)
{
    uint32_t size = uint32_t(payload.size());
    std::vector<uint8_t> frame = {uint8_t(size >> 24), uint8_t(size >> 16), uint8_t(size >> 8),
                                  uint8_t(size)};
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

Message TestMessage()
{
    Message message(kTestWhat);
    message.AddInt32("When", 1234567890);
    message.AddString("Text", "hello");
    return message;
}

void ExpectTestMessage(const Message& message)
{
    EXPECT_EQ(message.what, kTestWhat);
    EXPECT_EQ(message.GetInt32("When"), 1234567890);
    EXPECT_STREQ(message.GetString("Text", ""), "hello");
}

// Waits for a connection on the listener, then receives from it.
status_t ReceiveWhenReady(RosterListener& listener, Message* message,
                          RosterConnection* connection = nullptr, int timeoutMs = 2000)
{
    pollfd entry = {listener.FileDescriptor(), POLLIN, 0};
    if (poll(&entry, 1, 5000) != 1)
        return B_TIMED_OUT;
    return listener.Receive(message, connection, timeoutMs);
}

class RosterTest : public ::testing::Test {
protected:
    RosterTest() : fRuntime("XDG_RUNTIME_DIR", fFolder.Path().c_str()) {}

    std::string SocketPath() const { return fFolder / "calvorin/application_x-vnd.QZ-RosterTest"; }

    TempFolder fFolder;
    ScopedEnvironment fRuntime;
};

TEST_F(RosterTest, ListenerReceivesWhatIsSent)
{
    RosterListener listener;
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    EXPECT_EQ(listener.SocketPath(), SocketPath());
    struct stat info;
    ASSERT_EQ(stat((fFolder / "calvorin").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);

    Message nothing;
    EXPECT_EQ(listener.Receive(&nothing), B_WOULD_BLOCK);
    // Finding out whether it runs leaves a connection without a message.
    EXPECT_TRUE(Roster::IsRunning(kSignature));
    EXPECT_EQ(ReceiveWhenReady(listener, &nothing), B_ERROR);
    ASSERT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_OK);
    ASSERT_EQ(Roster::SendMessage(kSignature, Message(kTestWhat + 1)), B_OK);
    Message first, second;
    ASSERT_EQ(ReceiveWhenReady(listener, &first), B_OK);
    ExpectTestMessage(first);
    ASSERT_EQ(ReceiveWhenReady(listener, &second), B_OK);
    EXPECT_EQ(second.what, kTestWhat + 1);

    listener.Stop();
    EXPECT_FALSE(FileExists(SocketPath()));
    EXPECT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_NAME_NOT_FOUND);
    EXPECT_FALSE(Roster::IsRunning(kSignature));
}

TEST_F(RosterTest, ReplyTravelsBackOnTheSameConnection)
{
    RosterListener listener;
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    Message reply;
    status_t sent = B_ERROR;
    std::thread client([&]() { sent = Roster::SendMessage(kSignature, TestMessage(), &reply); });
    Message request;
    RosterConnection connection;
    ASSERT_EQ(ReceiveWhenReady(listener, &request, &connection), B_OK);
    ExpectTestMessage(request);
    Message answer(kTestWhat + 2);
    answer.AddInt32("pid", 42);
    EXPECT_EQ(connection.SendReply(answer), B_OK);
    client.join();
    ASSERT_EQ(sent, B_OK);
    EXPECT_EQ(reply.what, kTestWhat + 2);
    EXPECT_EQ(reply.GetInt32("pid"), 42);
}

TEST_F(RosterTest, OneInstancePerSignature)
{
    RosterListener first;
    ASSERT_EQ(first.Start(kSignature), B_OK);
    RosterListener second;
    EXPECT_EQ(second.Start(kSignature), B_ALREADY_RUNNING);
    EXPECT_EQ(second.FileDescriptor(), -1);
    // The refused one did not disturb the first.
    ASSERT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_OK);
    Message message;
    EXPECT_EQ(ReceiveWhenReady(first, &message), B_OK);

    // Another signature is another instance.
    RosterListener other;
    EXPECT_EQ(other.Start("application/x-vnd.QZ-RosterTest2"), B_OK);

    first.Stop();
    EXPECT_EQ(second.Start(kSignature), B_OK);
}

TEST_F(RosterTest, StaleSocketIsReplacedALiveOneIsNot)
{
    ASSERT_EQ(mkdir((fFolder / "calvorin").c_str(), 0700), 0);
    // A socket that is bound and listened on, without the lock: not taken over.
    int live = UnixSocket(SocketPath(), false);
    ASSERT_GE(live, 0);
    ASSERT_EQ(listen(live, 4), 0);
    RosterListener listener;
    EXPECT_EQ(listener.Start(kSignature), B_ALREADY_RUNNING);
    EXPECT_TRUE(FileExists(SocketPath()));
    close(live);

    // A socket left behind by an instance that died: bound, nobody listens.
    ASSERT_TRUE(FileExists(SocketPath()));
    EXPECT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_NAME_NOT_FOUND);
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    ASSERT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_OK);
    Message message;
    ASSERT_EQ(ReceiveWhenReady(listener, &message), B_OK);
    ExpectTestMessage(message);
}

TEST_F(RosterTest, MalformedFramesAreRefused)
{
    RosterListener listener;
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    std::vector<uint8_t> flat = TestMessage().Flatten();
    std::vector<uint8_t> truncated(flat.begin(), flat.end() - 1);
    std::vector<uint8_t> tooLong = {0x00, 0x10, 0x00, 0x01};  // 1 MiB + 1
    std::vector<uint8_t> longerThanSent = Frame(flat);
    longerThanSent[3] += 1;
    struct Case {
        const char* what;
        std::vector<uint8_t> bytes;
        status_t expected;
    };
    const std::vector<Case> cases = {
        {"empty frame", {0, 0, 0, 0}, B_BAD_VALUE},
        {"frame over the limit", tooLong, B_BAD_VALUE},
        {"garbage", Frame(std::vector<uint8_t>(64, 0xa5)), B_BAD_VALUE},
        {"message cut short", Frame(truncated), B_BAD_VALUE},
        {"length beyond the bytes", longerThanSent, B_ERROR},
        {"half a length", {0, 0}, B_ERROR},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        int fd = ConnectTo(SocketPath());
        ASSERT_GE(fd, 0);
        SendRaw(fd, test.bytes);
        shutdown(fd, SHUT_WR);
        Message message;
        EXPECT_EQ(ReceiveWhenReady(listener, &message), test.expected);
        close(fd);
    }

    // A peer that connects and says nothing costs only the time-out.
    int silent = ConnectTo(SocketPath());
    ASSERT_GE(silent, 0);
    Message message;
    EXPECT_EQ(ReceiveWhenReady(listener, &message, nullptr, 100), B_TIMED_OUT);
    close(silent);

    // Afterwards, a well-formed message still gets through.
    ASSERT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_OK);
    ASSERT_EQ(ReceiveWhenReady(listener, &message), B_OK);
    ExpectTestMessage(message);
}

TEST_F(RosterTest, OversizedMessagesAreNotSent)
{
    RosterListener listener;
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    Message big(kTestWhat);
    std::vector<uint8_t> block(FramedSocket::kMaxFrameSize, 1);
    big.AddData("Block", B_RAW_TYPE, block.data(), block.size());
    EXPECT_EQ(Roster::SendMessage(kSignature, big), B_BAD_VALUE);
}

TEST_F(RosterTest, SocketFolderMustBeOursAndPrivate)
{
    std::string folder = fFolder / "calvorin";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    std::string found;
    ASSERT_EQ(RuntimeFolder::Get(&found), B_OK);
    EXPECT_EQ(found, folder);
    struct stat info;
    ASSERT_EQ(stat(folder.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);

    // A link in the folder's place is not followed.
    ASSERT_EQ(rmdir(folder.c_str()), 0);
    ASSERT_EQ(mkdir((fFolder / "elsewhere").c_str(), 0700), 0);
    ASSERT_EQ(symlink((fFolder / "elsewhere").c_str(), folder.c_str()), 0);
    EXPECT_EQ(RuntimeFolder::Get(&found), B_PERMISSION_DENIED);
    RosterListener listener;
    EXPECT_EQ(listener.Start(kSignature), B_PERMISSION_DENIED);
    EXPECT_EQ(Roster::SendMessage(kSignature, TestMessage()), B_PERMISSION_DENIED);
    ASSERT_EQ(unlink(folder.c_str()), 0);

    if (geteuid() != 0)
        return;
    // Run as the superuser, the test can hand the folder to someone else.
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
    EXPECT_EQ(RuntimeFolder::Get(&found), B_PERMISSION_DENIED);
}

TEST_F(RosterTest, FolderAndSocketNames)
{
    EXPECT_EQ(RuntimeFolder::SocketName("application/x-vnd.QZ-Calvorin"),
              "application_x-vnd.QZ-Calvorin");
    EXPECT_EQ(RuntimeFolder::SocketName("a/../b c"), "a_.._b_c");
    std::string path;
    EXPECT_EQ(RuntimeFolder::SocketPath("", &path), B_BAD_VALUE);
    EXPECT_EQ(RuntimeFolder::SocketPath("..", &path), B_BAD_VALUE);
    EXPECT_EQ(RuntimeFolder::SocketPath(std::string(200, 'x').c_str(), &path), B_BAD_VALUE);

    ScopedEnvironment relative("XDG_RUNTIME_DIR", "not/absolute");
    std::string folder;
    ASSERT_EQ(RuntimeFolder::Get(&folder), B_OK);
    EXPECT_EQ(folder, "/tmp/calvorin-" + std::to_string(geteuid()));
}

// Connects to the listener as another user (possible only for the
// superuser, who keeps the right to reach a folder it does not own).
// Returns false when the test cannot set that up.
bool ConnectAsOtherUser(const std::string& socketPath, pid_t* child, int* doneFd)
{
    int report[2];
    if (pipe(report) != 0)
        return false;
    *child = fork();
    if (*child == 0) {
        close(report[0]);
        char result = 'x';
        __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
        __user_cap_data_struct data[2] = {};
        if (prctl(PR_SET_KEEPCAPS, 1) == 0 && setresuid(65534, 65534, 65534) == 0 &&
            syscall(SYS_capget, &header, data) == 0) {
            data[0].effective |= 1u << CAP_DAC_OVERRIDE;
            if (syscall(SYS_capset, &header, data) == 0) {
                int fd = ConnectTo(socketPath);
                if (fd >= 0) {
                    result = 'c';
                    std::vector<uint8_t> frame = Frame(TestMessage().Flatten());
                    ssize_t ignored = send(fd, frame.data(), frame.size(), MSG_NOSIGNAL);
                    (void)ignored;
                    ignored = write(report[1], &result, 1);
                    char byte;
                    ignored = read(fd, &byte, 1);  // until the listener hangs up
                    // The roster refuses a listener of another user too.
                    _exit(FramedSocket::PeerIsSameUser(fd) ? 2 : 0);
                }
            }
        }
        ssize_t ignored = write(report[1], &result, 1);
        (void)ignored;
        _exit(1);
    }
    close(report[1]);
    char result = 'x';
    bool ok = *child > 0 && read(report[0], &result, 1) == 1 && result == 'c';
    *doneFd = report[0];
    return ok;
}

TEST_F(RosterTest, OtherUsersAreRefused)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs the superuser to act as another user";
    RosterListener listener;
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    pid_t child = -1;
    int doneFd = -1;
    bool connected = ConnectAsOtherUser(SocketPath(), &child, &doneFd);
    if (!connected) {
        if (child > 0)
            waitpid(child, nullptr, 0);
        close(doneFd);
        GTEST_SKIP() << "cannot switch to another user here";
    }
    Message message;
    EXPECT_EQ(ReceiveWhenReady(listener, &message), B_PERMISSION_DENIED);
    int status = -1;
    waitpid(child, &status, 0);
    close(doneFd);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(LaunchMessageTest, TakesTheHiddenArgumentAndItsMessage)
{
    int fd = memfd_create("test", MFD_CLOEXEC);
    std::vector<uint8_t> flat = TestMessage().Flatten();
    ASSERT_EQ(write(fd, flat.data(), flat.size()), ssize_t(flat.size()));
    std::string hidden = LaunchMessage::Argument(fd);
    std::vector<std::string> strings = {"prog", "a", hidden, "b"};
    std::vector<char*> argv;
    for (std::string& text : strings)
        argv.push_back(text.data());
    argv.push_back(nullptr);
    int argc = 4;
    Message message;
    ASSERT_EQ(LaunchMessage::Take(&argc, argv.data(), &message), B_OK);
    ExpectTestMessage(message);
    ASSERT_EQ(argc, 3);
    EXPECT_STREQ(argv[1], "a");
    EXPECT_STREQ(argv[2], "b");
    EXPECT_EQ(argv[3], nullptr);
    // The descriptor is closed once read.
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    EXPECT_EQ(LaunchMessage::Take(&argc, argv.data(), &message), B_NAME_NOT_FOUND);
}

TEST(LaunchMessageTest, BadHandOversAreRefused)
{
    int garbage = memfd_create("garbage", MFD_CLOEXEC);
    ASSERT_EQ(write(garbage, "not a message at all", 20), 20);
    int pipeFds[2];
    ASSERT_EQ(pipe2(pipeFds, O_CLOEXEC), 0);
    for (std::string hidden :
         {LaunchMessage::Argument(garbage), LaunchMessage::Argument(pipeFds[0]),
          std::string(LaunchMessage::kArgumentPrefix) + "0",
          std::string(LaunchMessage::kArgumentPrefix) + "12x",
          std::string(LaunchMessage::kArgumentPrefix)}) {
        SCOPED_TRACE(hidden);
        std::string program = "prog";
        char* argv[] = {program.data(), hidden.data(), nullptr};
        int argc = 2;
        Message message;
        EXPECT_EQ(LaunchMessage::Take(&argc, argv, &message), B_BAD_VALUE);
        EXPECT_EQ(argc, 1);
    }
    close(pipeFds[1]);
}

class RosterLaunchTest : public RosterTest {
protected:
    void SetUp() override
    {
        // The stand-in program records how it was started.
        fScript = fFolder / "program.sh";
        std::ofstream out(fScript);
        out << "#!/bin/sh\n"
               "out=\"" << fFolder.Path() << "\"\n"
               // Looked at before any redirection of the shell's own.
               "fds=$(ls -l /proc/$$/fd)\n"
               "std=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n"
               "echo \"$@\" > \"$out/args.tmp\"\n"
               "cat <&3 > \"$out/message.tmp\" 2>/dev/null\n"
               "echo \"$fds\" > \"$out/fds.tmp\"\n"
               "echo \"$std\" > \"$out/std.tmp\"\n"
               "cut -d' ' -f4,6 /proc/$$/stat > \"$out/ids.tmp\"\n"
               "for f in args message fds std ids; do mv \"$out/$f.tmp\" \"$out/$f\"; done\n";
        out.close();
        chmod(fScript.c_str(), 0700);
    }
    void TearDown() override { Roster::RegisterExecutable(kSignature, ""); }

    std::string fScript;
};

TEST_F(RosterLaunchTest, StartsTheRegisteredProgramDetachedWithTheMessage)
{
    Roster::RegisterExecutable(kSignature, fScript);
    EXPECT_EQ(Roster::FindExecutable(kSignature), fScript);
    // A descriptor of ours that the program must not inherit.
    int ours = open(fFolder.Path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(ours, 0);

    Message message = TestMessage();
    ASSERT_EQ(Roster::Launch(kSignature, &message), B_OK);
    ASSERT_TRUE(WaitUntil([&]() { return FileExists(fFolder / "ids"); }));
    close(ours);

    EXPECT_EQ(ReadWholeFileText(fFolder / "args"), "--launch-message-fd=3\n");
    std::string flat = ReadWholeFileText(fFolder / "message");
    Message handed;
    ASSERT_EQ(handed.Unflatten(flat.data(), flat.size()), B_OK);
    ExpectTestMessage(handed);
    EXPECT_EQ(ReadWholeFileText(fFolder / "std"), "/dev/null\n/dev/null\n/dev/null\n");
    EXPECT_EQ(ReadWholeFileText(fFolder / "fds").find(fFolder.Path() + "\n"), std::string::npos)
        << ReadWholeFileText(fFolder / "fds");
    // Its parent is not us, and it runs in a session of its own.
    int parent = 0, session = 0;
    std::istringstream(ReadWholeFileText(fFolder / "ids")) >> parent >> session;
    EXPECT_NE(parent, getpid());
    EXPECT_NE(session, getsid(0));
}

TEST_F(RosterLaunchTest, RunningInstanceGetsTheMessageInstead)
{
    Roster::RegisterExecutable(kSignature, fScript);
    RosterListener listener;
    ASSERT_EQ(listener.Start(kSignature), B_OK);
    Message message = TestMessage();
    EXPECT_EQ(Roster::Launch(kSignature, &message), B_ALREADY_RUNNING);
    Message received;
    ASSERT_EQ(ReceiveWhenReady(listener, &received), B_OK);
    ExpectTestMessage(received);
    // Without a message, it only finds out that the program runs.
    EXPECT_EQ(Roster::Launch(kSignature, nullptr), B_ALREADY_RUNNING);
    EXPECT_FALSE(FileExists(fFolder / "args.tmp"));
    EXPECT_FALSE(FileExists(fFolder / "args"));
}

TEST_F(RosterLaunchTest, MissingProgramsAreReported)
{
    Message message = TestMessage();
    EXPECT_EQ(Roster::Launch(kSignature, &message), B_LAUNCH_FAILED_APP_NOT_FOUND);
    Roster::RegisterExecutable(kSignature, fFolder / "nothing-here");
    EXPECT_EQ(Roster::Launch(kSignature, &message), B_LAUNCH_FAILED_APP_NOT_FOUND);
    // Without any execute permission, even for the superuser.
    chmod(fScript.c_str(), 0600);
    Roster::RegisterExecutable(kSignature, fScript);
    EXPECT_EQ(Roster::Launch(kSignature, &message), B_LAUNCH_FAILED_APP_NOT_FOUND);
    Roster::RegisterExecutable(kSignature, fFolder.Path());
    EXPECT_EQ(Roster::Launch(kSignature, &message), B_LAUNCH_FAILED_APP_NOT_FOUND);
    EXPECT_EQ(Roster::Launch("", &message), B_BAD_VALUE);

    // A file that the system refuses to run fails at exec.
    std::string notAProgram = fFolder / "not-a-program";
    std::ofstream(notAProgram) << "\x7f" "ELF but not really";
    chmod(notAProgram.c_str(), 0700);
    Roster::RegisterExecutable(kSignature, notAProgram);
    EXPECT_EQ(Roster::Launch(kSignature, &message), B_LAUNCH_FAILED);
}

}  // namespace
