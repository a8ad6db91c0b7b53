#include "host/serve/serve_command_line.h"

#include <CLI/CLI.hpp>
#include <map>

#include "host/system/folders.h"
#include "host/system/programs.h"

namespace {

constexpr const char* SeeHelp = "; see 'tamborin-host ";

void addCommonOptions(CLI::App& app, ServeCommandLine& line) {
    SessionOptions& session = line.serve.hub.session;
    const std::map<std::string, int32_t> levels{
        {"detail", LogDetail}, {"info", LogInfo}, {"notice", LogNotice}, {"error", LogError}};
    app.add_option("--dir", line.folder, "the folder of the module's settings file")
        ->capture_default_str();
    app.add_option("--module", session.module, "the module's library")->capture_default_str();
    app.add_option("--log-level", session.logLevel, "show the module's log from this level on")
        ->transform(CLI::Transformer(levels, CLI::ignore_case));
    app.add_flag("--quiet", line.console.quiet, "only results and errors");
    app.add_flag("--library-noise", line.showsLibraryNoise,
                 "show what the audio libraries write to stderr");
}

CLI::App& addServe(CLI::App& app, ServeOptions& options) {
    CLI::App& serve = *app.add_subcommand("serve", "serve inputs and outputs on the network");
    serve
        .add_option("--listen", options.listenAddress,
                    "the address to listen on; one that other machines can reach needs --passwords")
        ->capture_default_str();
    serve.add_option("--rtsp-port", options.rtspPort, "0 for any")->capture_default_str();
    serve.add_option("--http-port", options.httpPort, "0 for any")->capture_default_str();
    serve.add_option("--passwords", options.passwords,
                     "the file of users and passwords, made by 'tamborin-host password'");
    serve.add_option("--certificate", options.certificate,
                     "the certificate for TLS, with its chain (PEM)");
    serve.add_option("--key", options.key, "the certificate's private key (PEM)");
    serve.add_option("--talk-output", options.talkOutput,
                     "the output on which RTSP clients talk, by number or name; if not given, the "
                     "first with a device");
    serve.add_flag("--stop-idle-inputs", options.hub.stopIdleInputs,
                   "disable inputs again when their last client has left");
    return serve;
}

}  // namespace

ServeCommandLine parseServeCommandLine(int argc, char** argv) {
    ServeCommandLine line;
    line.serve.hub.session.module = partOfTool("libtamborin.so", MODULE_FROM_LIBEXECDIR);
    CLI::App app{"Serves the module's inputs and outputs on the network.", "tamborin-host"};
    app.require_subcommand(1, 1);
    app.fallthrough();
    addCommonOptions(app, line);
    CLI::App& serve = addServe(app, line.serve);
    CLI::App& password =
        *app.add_subcommand("password", "set who may use the server; asks for the password");
    password.add_option("--file", line.passwordFile, "the password file")->required();
    password.add_option("user", line.user, "the user's name")->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        app.exit(success);
        return line;
    } catch (const CLI::ParseError& error) {
        std::string message = error.what();
        message = message.substr(0, message.find('\n'));
        throw MisuseError(message + SeeHelp + (password.parsed() ? "password" : "serve") +
                          " --help'");
    }
    line.command =
        serve.parsed() ? ServeCommandLine::Command::Serve : ServeCommandLine::Command::Password;
    SessionOptions& session = line.serve.hub.session;
    if (session.module.has_parent_path())
        makeAbsolute(session.module);
    for (std::filesystem::path* path : {&line.folder, &line.passwordFile, &line.serve.passwords,
                                        &line.serve.certificate, &line.serve.key})
        makeAbsolute(*path);
    return line;
}
