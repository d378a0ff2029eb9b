//===- Net/WebPostMessage.cpp - One-shot HTTP POST client -----------------===//
#include <Vemlo/Net/WebPostMessage.h>

#include <Vemlo/Common/Exception.h>
#include <Vemlo/Config/ConfigurationManager.h>
#include <Vemlo/Data/Properties/IProperty.h>
#include <Vemlo/Data/Properties/PropertyException.h>
#include <Vemlo/Net/PostObject.h>

#include "Support/Io.h"
#include "Support/Text.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Vemlo {
namespace Net {

namespace {

// Size of the reply buffer of SimpleHTTPMethod; a reply that reaches it is
// spooled to a file.
constexpr int kReceiveBufferSize = 100000;

// Header lines end in a bare "\n": servers that existing applications talk
// to have always been sent this form.
const char* const kLineEnd = "\n";

// Removes a spool file once it has been read back.
void removeSpoolFile(const String& path) {
    if (Vemlo::detail::isShellWord(path.str())) {
        String command;
        command.Format("rm -rf %s", path.c_str());
        const int status = std::system(command.c_str());
        (void)status; // a file that cannot be removed is not the caller's failure
    } else {
        // A path with blanks or shell characters would be split or
        // interpreted by the shell (and "rm -rf" would then remove other
        // things); such a path is removed directly.
        std::remove(path.c_str());
    }
}

// The configured spool path, or null when the configuration cannot give one.
// An empty or missing value is a path like any other: the spool files are then
// "_<n>" in the working directory. The configuration's exceptions are caught,
// and deleted, here.
const char* configuredTempPath(String& value) {
    try {
        Vemlo::Data::Properties::IProperty* config =
            Vemlo::Config::ConfigurationManager::GetManager()->getInstance();
        const char* text = config ? config->getValue("Base.Http.TempPath") : nullptr;
        if (text == nullptr)
            return nullptr;
        value = text;
        return value.c_str();
    } catch (Vemlo::Common::Exception* e) {
        delete e;
    } catch (Vemlo::Data::Properties::PropertyException* e) {
        delete e;
    } catch (...) {
    }
    return nullptr;
}

// One exchange of SimpleHTTPMethod: the request's state and the reply
// buffer, released on every way out.
struct Exchange {
    std::unique_ptr<PostObject> post{new PostObject()};
    // Set once the exchange has run: the socket is then closed here too.
    bool closesSocket = false;

    Exchange() = default;
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange() {
        std::free(post->m_pRecvBuffer);
        if (post->m_pTempFile != nullptr)
            std::fclose(post->m_pTempFile);
        // The socket is normally closed already (marked -1). Descriptor 0 is
        // still closed here when the host could not be resolved (the object's
        // initial 0): callers of this client have long been written for that,
        // so it is kept. A connect failure leaves its open socket to this step.
        if (closesSocket && post->m_nSocket >= 0)
            ::close(post->m_nSocket);
    }
};

// Fills the request; false when the reply buffer cannot be had.
bool prepare(PostObject& post, const char* url, const char* body, const char* method) {
    post.m_sUrl = url;
    if (method != nullptr)
        post.m_sMethod = method;
    post.m_pBody = Vemlo::detail::orEmpty(body);
    post.m_nBodyLength = static_cast<int>(std::strlen(post.m_pBody));
    post.m_pRecvBuffer = static_cast<char*>(std::calloc(kReceiveBufferSize, 1));
    if (post.m_pRecvBuffer == nullptr)
        return false;
    post.m_nBufferSize = kReceiveBufferSize;
    post.m_nReceived = 0;
    return true;
}

// The bytes of the reply that make up its text. A spooled reply is read back
// into a buffer of its size, and its file closed and removed.
int replyLength(PostObject& post) {
    if (post.m_pTempFile != nullptr) {
        std::free(post.m_pRecvBuffer);
        post.m_pRecvBuffer = nullptr;
        if (post.m_nReceived > 0)
            post.m_pRecvBuffer = static_cast<char*>(std::calloc(post.m_nReceived, 1));
        size_t read = 0;
        if (post.m_pRecvBuffer != nullptr)
            read = std::fread(post.m_pRecvBuffer, 1, post.m_nReceived, post.m_pTempFile);
        std::fclose(post.m_pTempFile);
        post.m_pTempFile = nullptr;
        removeSpoolFile(post.m_sTempPath);
        // The read-back buffer has no terminating NUL: the text ends at the
        // first NUL within the bytes actually read.
        return static_cast<int>(post.m_pRecvBuffer ? ::strnlen(post.m_pRecvBuffer, read) : 0);
    }
    if (post.m_nReceived > 0) {
        // Zero-filled past the reply, which stayed below the capacity.
        return static_cast<int>(::strnlen(post.m_pRecvBuffer, post.m_nReceived));
    }
    return 0;
}

// Where the body of `reply` starts, or npos. "\n\n" first, deliberately:
// replies from servers that end their header lines in a bare "\n" split
// there even when "\r\n\r\n" comes later.
std::string_view::size_type bodyStart(std::string_view reply) {
    std::string_view::size_type at = reply.find("\n\n");
    if (at != std::string_view::npos && at > 0)
        return at + 2;
    at = reply.find("\r\n\r\n");
    if (at != std::string_view::npos && at > 0)
        return at + 4;
    return std::string_view::npos;
}

} // namespace

int WebPostMessage::m_nTmpFileNum = 0;

int WebPostMessage::SimpleHTTPMethod(const char* url, const char* body, const char* method,
                                     String* out) {
    if (url == nullptr || out == nullptr)
        return 0;
    Exchange exchange;
    PostObject* post = exchange.post.get();
    if (!prepare(*post, url, body, method))
        return 0;
    // A URL too short for its prefix throws from here, before anything is
    // opened. A send or spool failure gives 0 with the socket closed and no
    // file open.
    if (HTTPPostMethod(post) == 0)
        return 0;
    exchange.closesSocket = true;

    const int length = replyLength(*post);
    // The reply's text; the body is copied out of the buffer directly.
    const bool received = post->m_nReceived > 0 && post->m_pRecvBuffer != nullptr;
    const std::string_view reply(received ? post->m_pRecvBuffer : "",
                                 received ? static_cast<size_t>(length) : 0);
    const std::string_view::size_type start = bodyStart(reply);
    // Nothing received, no blank line, or nothing after it: `out` is left.
    if (!received || start == std::string_view::npos || start == reply.size())
        return 0;
    out->clear();
    out->append(reply.data() + start, reply.size() - start);
    return 1;
}

int WebPostMessage::HTTPPostMethod(PostObject* post) {
    if (post == nullptr)
        return 0;
    const String url = post->m_sUrl;
    const String::size_type slash = url.find("/", 8);
    const String authority = slash == String::npos ? url : url.substr(0, slash);
    // The 7-character prefix ("http://") is assumed, not checked; a shorter
    // text throws std::out_of_range here.
    post->m_sHost = authority.substr(7);
    post->m_sPath = slash == String::npos ? url : url.substr(slash);
    const String::size_type colon = post->m_sHost.find(":");
    if (colon != String::npos && colon > 0) {
        post->m_nPort =
            static_cast<int>(std::strtol(post->m_sHost.c_str() + colon + 1, nullptr, 10));
        post->m_sHost = post->m_sHost.substr(0, colon);
    }

    // A connection failure is reported as 1, deliberately: the caller then
    // finds nothing received, and callers tell the two cases apart that way.
    if (ServerConnect(post) != 0)
        return 1;
    int code = MessageSend(post);
    if (code == 0)
        code = MessageReceive(post);
    ConnectionClose(post);
    return code == 0 ? 1 : 0;
}

int WebPostMessage::ServerConnect(PostObject* post) {
    if (post == nullptr)
        return 1001;
    hostent* host = ::gethostbyname(post->m_sHost.c_str());
    if (host == nullptr || host->h_addr_list == nullptr || host->h_addr_list[0] == nullptr)
        return 1001;
    in_addr first;
    std::memcpy(&first, host->h_addr_list[0], sizeof first);
    sockaddr_in server;
    std::memset(&server, 0, sizeof server);
    server.sin_family = AF_INET;
    server.sin_addr.s_addr = ::inet_addr(::inet_ntoa(first));
    server.sin_port = htons(static_cast<uint16_t>(post->m_nPort));

    post->m_nSocket = ::socket(AF_INET, SOCK_STREAM, 0);
    if (post->m_nSocket < 0)
        return 1002;
    if (::connect(post->m_nSocket, reinterpret_cast<sockaddr*>(&server), sizeof server) < 0)
        return 1003;
    return 0;
}

int WebPostMessage::MessageSend(PostObject* post) {
    if (post == nullptr)
        return 2002;
    // Built by appending, not through the 2047-character formatting buffer,
    // so that long paths and host names go out whole.
    std::string header;
    header.append(post->m_sMethod.str()).append(" ").append(post->m_sPath.str());
    header.append(" HTTP/1.1").append(kLineEnd);
    header.append("Host: ").append(post->m_sHost.str());
    if (post->m_nPort != 80)
        header.append(":").append(std::to_string(post->m_nPort));
    header.append(kLineEnd);
    header.append("Content-Type: application/x-www-form-urlencoded").append(kLineEnd);
    header.append("Connection: close").append(kLineEnd);
    header.append("Content-Length: ").append(std::to_string(post->m_nBodyLength));
    header.append(kLineEnd).append(kLineEnd);

    using Vemlo::detail::sendAll;
    const int headerLength = static_cast<int>(header.size());
    if (sendAll(post->m_nSocket, header.data(), headerLength) != headerLength)
        return 2002;
    if (post->m_nBodyLength > 0 &&
        sendAll(post->m_nSocket, post->m_pBody, post->m_nBodyLength) != post->m_nBodyLength)
        return 2008;
    return 0;
}

int WebPostMessage::MessageReceive(PostObject* post) {
    if (post == nullptr)
        return 3001;
    char* const buffer = post->m_pRecvBuffer;
    const int capacity = post->m_nBufferSize;
    if (buffer == nullptr || capacity < 1)
        return 0;

    std::memset(buffer, 0, static_cast<size_t>(capacity));
    int offset = 0;
    bool spooling = false;
    for (;;) {
        // The count is an int: a reply is cut before it could pass INT_MAX.
        if (post->m_nReceived > INT_MAX - capacity)
            break;
        const ssize_t got =
            ::recv(post->m_nSocket, buffer + offset, static_cast<size_t>(capacity - offset), 0);
        if (got < 0)
            break; // a failed receive ends the reply; it is not reported
        const int result = static_cast<int>(got);
        if (!spooling) {
            if (result == 0)
                break; // the server closed
            if (offset + result < capacity) {
                post->m_nReceived += result;
                offset += result;
                continue;
            }
            // The buffer is full: from here on the reply goes to a file.
            post->m_sTempPath = GetTempFilePath();
            post->m_pTempFile = std::fopen(post->m_sTempPath.c_str(), "wb");
            if (post->m_pTempFile == nullptr)
                return 3001;
            std::fwrite(buffer, 1, static_cast<size_t>(offset + result), post->m_pTempFile);
            spooling = true;
        } else if (result > 0) {
            std::fwrite(buffer, 1, static_cast<size_t>(result), post->m_pTempFile);
        }
        std::memset(buffer, 0, static_cast<size_t>(capacity));
        offset = 0;
        post->m_nReceived += result;
        if (result == 0)
            break;
    }

    if (spooling) {
        std::fclose(post->m_pTempFile);
        post->m_pTempFile = std::fopen(post->m_sTempPath.c_str(), "rb");
        if (post->m_pTempFile == nullptr)
            std::remove(post->m_sTempPath.c_str()); // unreadable: no one could remove it later
    }
    return 0;
}

int WebPostMessage::MessageExchange(PostObject* post) {
    const int code = MessageSend(post);
    if (code != 0)
        return code;
    return MessageReceive(post);
}

int WebPostMessage::ConnectionClose(PostObject* post) {
    if (post == nullptr)
        return -1;
    const int result = ::close(post->m_nSocket);
    post->m_nSocket = -1;
    return result;
}

int WebPostMessage::SendBytes(int fd, char* buffer, int length) {
    if (length < 1)
        return 0;
    // A failure gives send()'s own result (0 or -1), not the bytes sent.
    ssize_t stoppedBy = 0;
    if (Vemlo::detail::sendAll(fd, buffer, length, &stoppedBy) == length)
        return length;
    return static_cast<int>(stoppedBy);
}

const char* WebPostMessage::GetTempFilePath() {
    // One text per thread, valid until that thread's next call.
    static thread_local String path;
    String value;
    if (const char* configured = configuredTempPath(value)) {
        path.Format("%s_%d", configured, __atomic_fetch_add(&m_nTmpFileNum, 1, __ATOMIC_RELAXED));
        return path.c_str();
    }
    std::puts("error to get temp path ");
    std::fflush(stdout);
    path.Format("/home/temp/.webpost_%d", __atomic_fetch_add(&m_nTmpFileNum, 1, __ATOMIC_RELAXED));
    return path.c_str();
}

} // namespace Net
} // namespace Vemlo
