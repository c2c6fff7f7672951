"""packaging/macos/sign."""

from support import KIVOCTL, MacTest

IDENTITY = "Developer ID Application: Example (TEAM)"
ACCOUNT = {"KIVO_SIGN_IDENTITY": IDENTITY, "KIVO_NOTARY_PROFILE": "kivo"}


class Sign(MacTest):
    def signatures(self):
        return [call for call in self.calls("codesign") if "--sign" in call]

    def test_signs_from_the_inside_out(self):
        self.succeed("sign", self.built, **ACCOUNT)
        options = f"--force --sign {IDENTITY} --timestamp --options runtime"
        self.assertEqual(self.signatures(), [
            f"{options} --identifier com.zynwerks.kivo.kivoctl {self.built / KIVOCTL}",
            f"{options} {self.built}"])

    def test_packs_what_apple_has_accepted(self):
        said = self.succeed("sign", self.built, **ACCOUNT)
        archive = self.built.parent / "Kivo Driver.zip"
        self.assertIn("ticket", archive.read_text())
        self.assertEqual(self.calls("xcrun"), [
            f"notarytool submit {archive} --keychain-profile kivo --wait",
            f"stapler staple {self.built}", f"stapler validate {self.built}"])
        self.assertTrue(said.endswith(f"Ready for others: {archive}\n"))

    def test_shows_why_apple_refuses(self):
        error = self.fail_with("Apple did not accept it", "sign", self.built, VERDICT="Invalid",
                               **ACCOUNT)
        self.assertIn("secure timestamp", error)
        self.assertIn("notarytool log 0f0f-1111 --keychain-profile kivo", self.calls("xcrun"))

    def test_only_signs_where_that_is_wanted(self):
        self.succeed("sign", "--sign-only", self.built, KIVO_SIGN_IDENTITY=IDENTITY)
        self.assertEqual(len(self.signatures()), 2)
        self.assertEqual(self.calls("xcrun"), [])

    def test_ad_hoc_needs_nothing(self):
        self.succeed("sign", "--ad-hoc", self.built)
        self.assertEqual(self.signatures()[1], f"--force --sign - {self.built}")
        self.assertEqual(self.calls("xcrun") + self.calls("security"), [])


class SignRefuses(MacTest):
    def refuse(self, complaint, **environment):
        return self.fail_with(complaint, "sign", self.built, **{**ACCOUNT, **environment})

    def test_another_system(self):
        self.refuse("here is Linux", SYSTEM="Linux")

    def test_no_identity(self):
        self.refuse("KIVO_SIGN_IDENTITY is not set", KIVO_SIGN_IDENTITY="")

    def test_an_identity_that_the_keychain_lacks(self):
        self.refuse("no valid certificate", KIVO_SIGN_IDENTITY="Developer ID Application: Nobody")

    def test_no_account(self):
        self.refuse("KIVO_NOTARY_PROFILE is not set", KIVO_NOTARY_PROFILE="")
        self.assertEqual(self.calls("codesign"), [])

    def test_a_build_for_one_architecture(self):
        self.refuse("not built for x86_64, only for arm64", ARCHITECTURES="arm64")

    def test_each_step_that_fails(self):
        for call, complaint in {"lipo": "architectures of MacOS/kivo-driver",
                                "codesign --force": "signing", "codesign --verify": "does not hold",
                                "ditto": "packing", "xcrun notarytool submit": "sending",
                                "xcrun stapler staple": "could not be stapled",
                                "xcrun stapler validate": "is not valid",
                                "spctl": "Gatekeeper"}.items():
            with self.subTest(call):
                self.refuse(complaint, FAIL=call)

    def test_unknown_options(self):
        self.assertEqual(self.run_command("sign", "--twice", self.built).returncode, 2)
