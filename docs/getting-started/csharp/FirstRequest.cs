using System;
using Velquor.WebServices;

internal static class FirstRequest {
    private static void Main(string[] arguments) {
        using (new Library(new LibraryOptions { SupportPaths = new[] { arguments[0] } })) {
            var client = new Client();
            client.Configure(new Config("demo-product-0001", "demo-secret-0001"));
            client.RestoreLogin();
            if (!client.IsLoggedIn) {
                Console.WriteLine("Sign in at\n\n" + client.InitiateLogin() + "\n\nand press Enter here.");
                Console.ReadLine();
                client.CompleteLogin();
            }
            Console.WriteLine("Authorization: " + client.Sign(arguments[1]));
        }
    }
}
