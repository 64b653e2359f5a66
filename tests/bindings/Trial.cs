// What a product in C# meets. It is compiled together with the package, whose inside it looks at, and does what its first argument says.
using System;
using System.Collections.Generic;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Threading;
using Velquor.WebServices;

internal static class Trial {
    private static Library s_library;
    private static Client s_client;

    private static int Main(string[] arguments) {
        switch (arguments[0]) {
        case "numbers": return Numbers();
        case "api": return Api(arguments[1]);
        case "woken": return Woken(arguments[1]);
        }
        Start(arguments[1]);
        if (arguments[0] != "product" && arguments[0] != "end")
            s_client.RestoreLogin();
        switch (arguments[0]) {
        case "product": Product(); break;
        case "operations": SignIn(); Operations(arguments[2]); break;
        case "events": Events(); break;
        case "secrets": Secrets(); break;
        case "end": Leave(arguments[2]); return 7;
        }
        s_library.Dispose();
        Expect("left", 0, Registration.Open);
        return 0;
    }

    private static void Start(string folder) {
        s_library = new Library(new LibraryOptions { SupportPaths = new[] { folder } });
        s_client = new Client();
        s_client.Configure(new Config("demo-product-0001", "demo-secret-0001") {
            FeatureName = "CAD ä", OAuth2ConsumerKey = "demo-product-0001", OAuth2ConsumerSecret = "demo-secret-0001",
        });
    }

    private static void SignIn() {
        Console.WriteLine("login " + s_client.InitiateLogin("ada"));
        Console.ReadLine();
        s_client.CompleteLogin("{\"Cookies\": [{\"Name\": \"n\", \"Value\": \"v\", \"Domain\": \"127.0.0.1\", \"Path\": \"/\"}]}");
    }

    private static void Expect<T>(string what, T expected, T got) {
        if (!EqualityComparer<T>.Default.Equals(expected, got))
            Console.WriteLine($"{what}: {expected} expected, {got} got");
    }

    private static TException Throws<TException>(string what, Action act) where TException : WebServicesException {
        try {
            act();
        } catch (TException exception) {
            return exception;
        }
        Console.WriteLine($"{what}: no {typeof(TException).Name}");
        return null;
    }

    // As the header has them.
    private static int Numbers() {
        foreach (var type in typeof(Library).Assembly.GetTypes().Where(type => type.Namespace == "Velquor.WebServices")) {
            if (type.IsEnum) {
                foreach (var name in Enum.GetNames(type))
                    Console.WriteLine($"{type.Name}.{name} = {(int)Enum.Parse(type, name)}");
            } else if (type.Name.EndsWith("Struct")) {
                Console.WriteLine($"sizeof({type.Name}) = {Marshal.SizeOf(type)}");
                foreach (var field in type.GetFields())
                    Console.WriteLine($"offsetof({type.Name}, {field.Name}) = {Marshal.OffsetOf(type, field.Name)}");
            }
        }
        return 0;
    }

    // Every member of other assemblies that the package uses.
    private static int Api(string path) {
        var any = Enumerable.Repeat(typeof(int), 9).ToArray();
        var module = Assembly.LoadFrom(path).ManifestModule;
        foreach (var table in new[] { 0x01000000, 0x0A000000 }) {
            for (var row = 1;; ++row) {
                MemberInfo member;
                try {
                    member = module.ResolveMember(table | row, any, any);
                } catch (ArgumentException) {
                    break;
                }
                var type = member as Type ?? member.DeclaringType;
                if (type.Module != module && !type.IsArray)
                    Console.WriteLine(member is Type ? $"{type.Namespace}.{type.Name}" : $"{type.Namespace}.{type.Name}::{member}");
            }
        }
        return 0;
    }

    private static void Operations(string echo) {
        var spec = new TokenSpec { Type = TokenType.Jwt, Scope = "a b" };
        Expect("version", true, Library.InterfaceVersion >= 0x10000 && Library.LibraryVersion.StartsWith("13."));
        Expect("initialized", true, Library.IsInitialized && Library.LogDrops == Library.LogDrops && Library.SupportPaths.Length == 1);
        s_library.SetDefaultPluginPaths();
        s_library.AddPluginPath("/nowhere");
        s_client.SetServer(Server.Production);
        Expect("server", Server.Production, s_library.Server);
        Expect("url", true, echo.StartsWith(s_library.Url(0)));
        Expect("files", true, System.IO.File.Exists(s_library.LogFile) && System.IO.File.Exists(s_library.LoginStateFile));
        Expect("flags", true, !s_library.IsSsoForAllUsers && s_library.IsLogEnabled && !s_library.IsLoginExpired);
        Expect("config", "CAD ä,", s_client.ConfigText(ConfigText.FeatureName) + "," + s_client.ConfigText(ConfigText.UpiBuild));
        Expect("user", "ada ada", s_client.UserName + " " + s_library.LdapDomainKey);
        Expect("id", true, s_library.UserId.Length > 0 && s_client.CachePath != null);
        Expect("signed in", true, s_client.IsLoggedIn && s_client.IsLoginValid && s_client.IsTokenAvailable && !s_client.IsTokenExpired);
        Expect("times", true, s_library.LoginExpiry > DateTimeOffset.UtcNow && s_client.TokenExpiry > DateTimeOffset.UtcNow);
        Expect("cookies", true, s_client.LoginCookie() == "n=v" && s_client.LoginCookiesJson().StartsWith("{\"Cookies\":[{"));
        var token = s_client.AccessToken();
        s_client.RefreshToken();
        Expect("refreshed", true, token != s_client.AccessToken(false));
        var form = new Request(echo) { Method = Method.Post, Sign = Sign.Body };
        form.Params.Add(new KeyValuePair<string, string>("x", "1 & ä"));
        form.Params.Add(new KeyValuePair<string, string>("x", null));
        Expect("form", true, s_client.Sign(form).StartsWith("x=1%20%26%20%C3%A4&x=&oauth_"));
        var large = new Request(echo) { Sign = Sign.Url };
        large.Params.Add(new KeyValuePair<string, string>("v", new string('ä', 20000)));
        Expect("large", 20000, s_client.Sign(large).Split(new[] { "%C3%A4" }, StringSplitOptions.None).Length - 1);
        Expect("own token", true, s_client.Sign(new Request(echo) { Token = "mine", TokenSecret = "s" }).Contains("oauth_token=\"mine\""));
        Expect("browser", true, s_client.SignUrlForBrowser(echo).StartsWith(echo + "?oauth_") && s_client.InitiateLogout().StartsWith("http"));
        Expect("no OAuth2", false, s_client.IsOAuth2Enabled);
        s_client.EnableOAuth2();
        s_client.EnableOAuth2(spec);
        Expect("OAuth2", true, s_client.OAuth2Token(spec).Length > 0 && s_client.IsOAuth2TokenAvailable(spec));
        s_client.RefreshOAuth2Token();
        Expect("OAuth2 times", true, !s_client.IsOAuth2TokenExpired() && s_client.OAuth2TokenExpiry() > DateTimeOffset.UtcNow);
        s_client.DisableOAuth2();
        Expect("profile", "ada@example.com Ada", s_client.UserEmail() + " " + s_client.UserFirstName());
        Expect("last name", true, s_client.UserLastName().Length > 0 && s_client.UserLastName() != "Ada" && s_client.UserInfo().StartsWith("<"));
        Expect("entitlement", Entitlement.Yes, s_client.Entitlement("Storage"));
        Expect("entitlements", true, s_client.EntitlementXml("Sharing").StartsWith("<") && s_client.EntitlementXml().Length > 0);
        s_client.StorageQuota(out var used, out var total);
        Expect("quota", "1288490189 5368709120", used + " " + total);
        Expect("cache", true, s_client.IsCacheEnabled(Cache.StorageQuota) && s_client.IsCacheAvailable(Cache.StorageQuota));
        s_client.InvalidateCache(Cache.StorageQuota);
        s_client.EnableCache(Cache.StorageQuota);
        var proxy = s_library.Proxy;
        proxy.SetDialogTexts("C %1", null);
        Expect("caption", true, proxy.DialogCaption == "C %1" && proxy.DialogMessage != "C %1");
        proxy.SetLogin("proxy.invalid", 8080, "u", "p ä");
        Expect("proxy", "u p ä", proxy.User("proxy.invalid") + " " + proxy.Password("proxy.invalid", 8080));
        Expect("proxy is there", true, proxy.IsStored && proxy.HasLogin("proxy.invalid"));
        proxy.Clear();
        Throws<NotFoundException>("no proxy", () => proxy.User("proxy.invalid"));
        s_library.RemoveEventHook();
        Expect("hook", Result.Unsupported, Throws<WebServicesException>("hook", s_library.SetEventHook).Code);
        Expect("dispatch", Result.WrongThread, Throws<WebServicesException>("dispatch", s_library.Dispatch).Code);
        s_client.CompleteLogout();
        s_client.RestoreLogin();
        Expect("signed out", "", s_client.UserName);
    }

    private static void Events() {
        var failures = new List<Exception>();
        var lines = 0;
        Library.HandlerFailed += failures.Add;
        EventHandler<LogLineEventArgs> line = (sender, told) => Interlocked.Increment(ref lines);
        Library.LogLine += line;
        using (var began = new ManualResetEventSlim()) {
            var ends = 0;
            EventHandler<ServiceEventArgs> slow = (sender, told) => {
                began.Set();
                Thread.Sleep(200);
                ++ends;
            };
            EventHandler<ServiceEventArgs> once = null;
            var onces = 0;
            once = (sender, told) => {
                ++onces;
                s_library.EventReceived -= once;
            };
            s_library.EventReceived += slow;
            s_library.EventReceived += once;
            var worker = new Thread(SignIn);
            worker.Start();
            Expect("began", true, began.Wait(20000));
            s_library.EventReceived -= slow;
            Expect("the removal waited for the call", 1, ends);
            worker.Join();
            GC.Collect();
            GC.WaitForPendingFinalizers();
            EventHandler<System.ComponentModel.CancelEventArgs> refuse = (sender, asked) => asked.Cancel = true;
            EventHandler<System.ComponentModel.CancelEventArgs> fail = (sender, asked) => { throw new InvalidOperationException("mine"); };
            s_library.AboutToLogout += fail;
            s_library.AboutToLogout += refuse;
            Throws<VetoedException>("veto", s_client.Logout);
            s_library.AboutToLogout -= refuse;
            var posted = new Posted();
            SynchronizationContext.SetSynchronizationContext(posted);
            var kinds = new List<EventKind>();
            s_library.EventReceived += (sender, told) => kinds.Add(told.Kind);
            SynchronizationContext.SetSynchronizationContext(null);
            s_client.Logout();
            Expect("nothing is raised before the context runs", 0, kinds.Count);
            Expect("told", true, SpinWait.SpinUntil(() => posted.Run() && kinds.Contains(EventKind.LoggedOut), 20000));
            Expect("raised once", 1, onces);
        }
        Expect("failures", "mine mine", string.Join(" ", failures.Select(failure => failure.Message)));
        Library.LogLine -= line;
        Expect("lines", true, lines > 0);
    }

    private sealed class Posted : SynchronizationContext {
        private readonly System.Collections.Concurrent.ConcurrentQueue<Action> m_calls = new System.Collections.Concurrent.ConcurrentQueue<Action>();
        public override void Post(SendOrPostCallback call, object state) => m_calls.Enqueue(() => call(state));
        internal bool Run() {
            while (m_calls.TryDequeue(out var call))
                call();
            return true;
        }
    }

    // The loop of the main thread delivers; the sign-out of another thread waits for the answer.
    private static int Woken(string folder) {
        var loop = new Posted();
        SynchronizationContext.SetSynchronizationContext(loop);
        using (var library = new Library(new LibraryOptions { Mode = Mode.Host, SupportPaths = new[] { folder } })) {
            var client = new Client();
            client.Configure(new Config("demo-product-0001", "demo-secret-0001"));
            client.RestoreLogin();
            var thread = 0;
            library.AboutToLogout += (sender, asked) => {
                thread = Thread.CurrentThread.ManagedThreadId;
                asked.Cancel = true;
            };
            var worker = new Thread(() => Throws<VetoedException>("veto", client.Logout));
            worker.Start();
            while (!worker.Join(5))
                loop.Run();
            Expect("thread", Thread.CurrentThread.ManagedThreadId, thread);
            Expect("user", "ada", client.UserName);
            new Thread(() => Throws<WebServicesException>("other thread", library.Dispose)).Start();
            Thread.Sleep(100);
        }
        return 0;
    }

    private static void Secrets() {
        foreach (var row in new Dictionary<string, Result> {
            ["hush\udc80"] = Result.Text, ["hush\0"] = Result.Text, [new string('h', 1 << 20) + "hush"] = Result.TooLong, [""] = Result.Argument,
        }) {
            var config = new Config("other", row.Key) { OAuth2ConsumerSecret = "hush" };
            var exception = Throws<WebServicesException>("secret", () => new Client("other").Configure(config));
            Expect("code", row.Value, exception.Code);
            Expect("secret", false, (exception + config.ToString()).Contains("hush"));
        }
        Expect("text", true, Throws<NotSignedInException>("sign", () => s_client.Sign("https://a/")).Message.Contains("SignRequest failed"));
        Expect("status", 403, Throws<RefusedException>("login", () => s_client.InitiateLogin()).HttpStatus);
    }

    private static void Leave(string how) {
        var began = new ManualResetEventSlim();
        Library.LogLine += (sender, told) => GC.KeepAlive(told);
        s_library.EventReceived += (sender, told) => {
            began.Set();
            Thread.Sleep(how == "in a handler" ? 300 : 0);
        };
        s_client.RestoreLogin();
        began.Wait(20000);
        if (how == "in a call")
            new Thread(() => {
                try {
                    for (;;)
                        GC.KeepAlive(s_client.IsLoggedIn);
                } catch (WebServicesException) {
                }
            }) { IsBackground = true }.Start();
        if (how == "by Exit")
            Environment.Exit(7);
    }

    // A product that a test instructs, as the one in C.
    private static void Product() {
        s_library.EventReceived += (sender, told) => Console.WriteLine($"event {(int)told.Kind}");
        s_client.RestoreLogin();
        Console.WriteLine("start");
        for (var line = Console.ReadLine(); line != null; line = Console.ReadLine()) {
            var order = line.Split(' ');
            switch (order[0]) {
            case "login": Console.WriteLine("login " + s_client.InitiateLogin()); break;
            case "complete": s_client.CompleteLogin(); Console.WriteLine("complete"); break;
            case "user": Console.WriteLine("user " + s_client.UserName); break;
            case "sign": Console.WriteLine("sign " + s_client.Sign(order[1])); break;
            case "logout": s_client.Logout(); Console.WriteLine("logout"); break;
            }
        }
    }
}
