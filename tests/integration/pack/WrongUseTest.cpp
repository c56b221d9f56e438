// Wrong uses of firmware-pack: its arguments, the release file, and what is to be packed.

#include <boost/filesystem/operations.hpp>

#include "WrongUse.h"

namespace {

using namespace Norv::Corvane::Test;

TEST_F(PackWrongUse, OfTheCommandLine) {
    expect({
        {{}, 2, {"a command is missing"}},
        {{""}, 2, {"unknown command "}},
        {{"pack"}, 2, {"unknown command pack"}},
        {{"\x1b[2J"}, 2, {"unknown command \\x1b[2J"}},
        {{"--nonsense"}, 2, {"unknown option --nonsense"}},
        {{"-x"}, 2, {"unknown option -x"}},
        {{"build", "--nonsense"}, 2, {"unknown option --nonsense"}},
        {{"build", "extra"}, 2, {"unknown option extra"}},
        {{"build", "--relea", "x"}, 2, {"unknown option --relea"}},
        {{"verify", "--certificate", "c", "a", "b"}, 2, {"unknown option b"}},
        {{"build", "--key"}, 2, {"--key lacks a value"}},
        {{"build", "--firmware", "a", "b"}, 2, {"--firmware lacks a value"}},
        {{"build", "--folder", "a"}, 2, {"--folder lacks a value"}},
        {{"build", "--key="}, 2, {"--key has an empty value"}},
        {{"build", "--output", ""}, 2, {"--output has an empty value"}},
        {{"inspect", ""}, 2, {"PACKAGE has an empty value"}},
        {building({"--key", "k"}), 2, {"--key is given twice"}},
        {building({"--release", "k"}), 2, {"--release is given twice"}},
        {{"inspect", "--certificate", "a", "--certificate", "b", "p"},
         2,
         {"--certificate is given twice"}},
        {building({"--strict", "--no-strict"}), 2, {"--strict and --no-strict exclude each other"}},
        {building({"--passphrase-fd", "x"}), 2, {"--passphrase-fd \"x\" is no number"}},
        {building({"--passphrase-fd", "1", "--passphrase-env", "E"}),
         2,
         {"--passphrase-file, --passphrase-fd and --passphrase-env exclude each other"}},
        {building({"--passphrase", "secret"}), 2, {"unknown option --passphrase"}},
    });
}

TEST_F(PackWrongUse, OfOptionsThatAreMissing) {
    expect({
        {{"build"},
         2,
         {"--key, --certificate, --manufacturer, --model, --version, --system-version, "
          "--application-version and --output are missing"}},
        {{"build", "--release", "release.toml"},
         2,
         {"--key, --certificate and --output are missing"}},
        {{"prepare", "--release", "release.toml"},
         2,
         {"--certificate, --to-sign and --output are missing"}},
        {{"attach"}, 2, {"UNSIGNED, --signature, --certificate and --output are missing"}},
        {{"attach", "u", "--signature", "s", "--certificate", "c"}, 2, {"--output is missing"}},
        {{"inspect"}, 2, {"PACKAGE is missing"}},
        {{"verify"}, 2, {"PACKAGE and --certificate are missing"}},
        {{"verify", "p"}, 2, {"--certificate is missing"}},
        {{"resign", "p"}, 2, {"--key, --certificate and --output are missing"}},
        {{"extract", "p"}, 2, {"FOLDER is missing"}},
    });
}

TEST_F(PackWrongUse, OfReleaseFiles) {
    const std::string table = "[[payload]]\n";
    expect({
        {{"build", "--release", "absent"}, 1, {"cannot open absent: No such file or directory"}},
        {{"build", "--release", "www"}, 1, {"cannot read www: Is a directory"}},
    });
    const std::vector<Use> uses = {
        release("modle = \"x\"\n", ":1: unknown key \"modle\""),
        release("\n\n\"\\u001b\" = 1\n", ":3: unknown key \"\\x1b\""),
        release("model = 3\n", ":1: \"model\" is not a text"),
        release("\nmodel = \"\"\n", ":2: \"model\" is empty"),
        release("model = \"a\\u0000b\"\n", ":1: \"model\" holds a zero byte"),
        release("compress = \"yes\"\n", ":1: \"compress\" is neither true nor false"),
        release("hardware-revisions = \"A\"\n",
                ":1: \"hardware-revisions\" is not an array of texts"),
        release("hardware-revisions = [\"A\",\n 1]\n", ":2: \"hardware-revisions\" is not a text"),
        release("payload = 1\n", ":1: \"payload\" is not an array of tables"),
        release(table + "target = \"x\"\n",
                ":1: payload needs one of file, script, folder and pattern"),
        release("\n" + table + "file = \"x\"\nscript = \"y\"\ntarget = \"x\"\n",
                ":2: payload needs one of file, script, folder and pattern"),
        release(table + "file = \"x\"\n", ":1: payload needs a target"),
        release(table + "file = \"x\"\ntaget = \"x\"\n", ":3: unknown key \"taget\""),
    };
    expect(uses);
    folder.write("syntax.toml", "model = \n");
    const ProcessResult result = pack({"build", "--release", "syntax.toml"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err.substr(0, 38), "firmware-pack: error: syntax.toml:1: E");
}

TEST_F(PackWrongUse, OfPayload) {
    boost::filesystem::create_directory(folder / "empty");
    boost::filesystem::create_symlink("www", folder / "linked");
    boost::filesystem::create_directory(folder / "odd");
    boost::filesystem::create_symlink("../www", folder / "odd/link");
    boost::filesystem::create_directory(folder / "dead");
    boost::filesystem::create_symlink("nothing", folder / "dead/link");
    ASSERT_EQ(run({"mkfifo", (folder / "pipe").string()}).status, 0);
    ASSERT_EQ(run({"truncate", "-s", "1T", (folder / "huge").string()}).status, 0);
    expect({
        {building({"--firmware", "absent", "a", "a"}),
         1,
         {"cannot read absent: No such file or directory"}},
        {building({"--firmware", "www", "a", "a"}), 1, {"cannot read www: not a regular file"}},
        {building({"--firmware", "pipe", "a", "a"}), 1, {"cannot read pipe: not a regular file"}},
        {building({"--folder", "absent", "a"}),
         1,
         {"cannot read absent: No such file or directory"}},
        {building({"--folder", "app", "a"}), 1, {"cannot read app: not a folder"}},
        {building({"--folder", "empty", "a"}), 1, {"the folder empty holds no file"}},
        {building({"--folder", "odd", "a"}), 1, {"cannot read odd/link: a link to a folder"}},
        {building({"--folder", "dead", "a"}), 1, {"cannot read dead/link: a link to nothing"}},
        {building({"--pattern", "*.bin", "a"}), 1, {"no file matches *.bin"}},
        {building({"--firmware", "huge", "a", "a"}),
         1,
         {"\"a\" is longer than 4 GiB", "the payload as a whole is longer than 4 GiB"}},
        {building({"--firmware", "app", "", "a"}), 1, {"the local path of \"a\" is empty"}},
        {building({"--firmware", "app", "../a", "a"}),
         1,
         {"the local path \"../a\" is not a plain relative file name"}},
        {building({"--firmware", "app", "a", ""}), 1, {"the remote path of \"a\" is empty"}},
        {building({"--firmware", "app", "a", "a/../../b"}),
         1,
         {"the remote path \"a/../../b\" leads out of the target directory"}},
        {building({"--firmware", "app", "a", "x", "--firmware", "app", "b", "./x"}),
         1,
         {"the remote path \"./x\" is used twice"}},
        {building({"--script", "go.sh", "s", "go.sh"}),
         1,
         {"the script \"go.sh\" is installed but not run: its remote path does not end in "
          "Script.run"}},
        {building({"--script", "go.sh", "s", "a b/Script.run"}),
         1,
         {"the script \"a b/Script.run\" cannot be run: its remote path holds a blank or a quote"}},
        {building({"--script", "go.sh", "s", "\"Script.run"}),
         1,
         {"the script \"\"Script.run\" cannot be run: its remote path holds a blank or a quote"}},
        {building({"--firmware", "app", "a\nb", "../x"}),
         1,
         {"the remote path \"../x\" leads out of the target directory"}},
    });
}

TEST_F(PackWrongUse, OfTheDescription) {
    expect({
        {building({"--hw-rev", "A", "--hw-rev", "A"}),
         1,
         {"the hardware revision \"A\" is given twice"}},
        {building({"--hw-rev", ""}), 1, {"a hardware revision is empty"}},
        {building({"--version", "1.2.3"}), 1, {"version \"1.2.3\" is not of the form 1.2.3.4"}},
        {building({"--version", "1", "--system-version", "\x1b", "--model", "X"}),
         1,
         {"manufacturer \"QV\", model \"X\" is no known device",
          "version \"1\" is not of the form 1.2.3.4",
          "system version \"\\x1b\" is not of the form 1.2.3.4"}},
        {building({"--hw-rev", "\x01"}),
         1,
         {"the manifest is not well-formed XML (a control character, or text that is not UTF-8)"}},
    });
    folder.write("none.toml", PackFixture::release().substr(0, PackFixture::release().find("[[")));
    expect({{{"build", "--strict", "--release", "none.toml", "--key", "rsa.key.pem",
              "--certificate", "rsa.cert.pem", "--output", "out.zip"},
             1,
             {"the package holds no payload file"}}});
}

}  // namespace
