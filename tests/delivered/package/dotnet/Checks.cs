// What the assembly promises beyond what the host and the page use.
//
//     checks layout         the layout of its records
//     checks library        why the library cannot be used
//     checks rules FOLDER   the rules, on a folder that holds some thousand files
using System;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Threading;
using System.Threading.Tasks;
using SystemSearch;

internal static class Checks
{
    private static bool failed;

    private static void Expect(bool holds, string rule)
    {
        if (holds) return;
        Console.WriteLine("does not hold: {0}", rule);
        failed = true;
    }

    private static void Throws<T>(Action action, string rule) where T : Exception
    {
        try
        {
            action();
            Expect(false, rule + ": nothing was thrown");
        }
        catch (Exception thrown)
        {
            Expect(thrown is T, rule + ": " + thrown);
        }
    }

    private static void Library()
    {
        try
        {
            new SearchEngine().Dispose();
            Console.WriteLine("It can be used.");
        }
        catch (LibraryUnavailableException failure)
        {
            Console.WriteLine(failure.Message);
        }
    }

    private static string? Complaint(bool isWindows, Architecture process)
    {
        Type library = typeof(SearchEngine).Assembly.GetType("SystemSearch.Library")!;
        MethodInfo method = library.GetMethod("Complaint", BindingFlags.NonPublic | BindingFlags.Static)!;
        return (string?)method.Invoke(null, new object[] { isWindows, process });
    }

    private static void Processes()
    {
        Expect(Complaint(true, Architecture.X64) == null, "an x64 process may use it");
        Expect(Complaint(false, Architecture.X64) == "System Search runs on Windows only.", "another system is told");
        Expect(Complaint(true, Architecture.X86) == "system_search.dll is a 64-bit library, and this is a 32-bit " +
            "process: build the program for x64, without \"Prefer 32-bit\".", "a 32-bit process is told");
        Expect(Complaint(true, Architecture.Arm64) == "system_search.dll is built for x64, and this process is " +
            "Arm64: build the program for x64.", "an ARM64 process is told");
    }

    private static void Arguments(SearchEngine engine)
    {
        Throws<ArgumentNullException>(() => engine.Start(null!), "a scope is needed");
        Throws<ArgumentException>(() => engine.Start("C:/a\0b"), "a scope holds no NUL");
        Throws<ArgumentException>(() => engine.Start("C:/a", "b\0"), "a cache path holds no NUL");
        Throws<ArgumentNullException>(() => engine.Query(null!), "a text is needed");
        Throws<ArgumentException>(() => engine.Query("a\0"), "a text holds no NUL");
        Throws<ArgumentException>(() => FolderListing.List(""), "a folder is needed");
        foreach (int limit in new[] { 0, 1001 })
        {
            Throws<ArgumentOutOfRangeException>(() => new QueryOptions { Limit = limit }, "a limit is 1 to 1000");
        }
        Throws<ArgumentOutOfRangeException>(() => new QueryOptions { Kind = (EntryKind)3 }, "there are three kinds");
    }

    private static void Waiting(SearchEngine engine, string folder)
    {
        Expect(engine.Status.State == BuildState.Idle, "a new engine is idle");
        engine.Start(folder);
        BuildStatus end = engine.Wait();
        Expect(end.State == BuildState.Ready && end.Entries == 3007 && end.Warning == null, "a build ends ready");
        SearchResults found = engine.Query("FILE 0000?", new QueryOptions { Limit = 4, Kind = EntryKind.File });
        Expect(found.Count == 4 && found.Matched == 9 && found.Searched == 3007 && !found.IsIncomplete,
            "a pattern matches, up to the limit");
        Expect(found[3].Path.EndsWith("/file 00004") && found.Last().Path == found[3].Path, "results are a list");
        Expect(found[0].Size == 0 && found[0].Modified == DateTimeOffset.FromUnixTimeSeconds(1234567890),
            "size and time are known");
        Expect(engine.Query("FILE", new QueryOptions { MatchCase = true }).Matched == 0, "case can matter");
        Expect(engine.Query("reports/", new QueryOptions { MatchPath = true }).Matched == 4, "paths can be matched");
        Throws<OperationCanceledException>(() => engine.Query("a", null, new CancellationToken(true)),
            "a cancelled token ends a query");

        engine.Start(folder, cachePath: folder + "/other.bin/cache", force: true);
        Expect(engine.Wait().Warning != null, "a cache that cannot be written is a warning");
        Throws<BuildFailedException>(() => { engine.Start("relative"); engine.Wait(); }, "a bad scope fails");
        Throws<QueryFailedException>(() => FolderListing.List(folder + "/missing"), "a missing folder fails");
        Expect(FolderListing.List(folder, "r").Count == 2, "a folder can be listed");
    }

    private static async Task Cancelling(SearchEngine engine)
    {
        using var stop = new CancellationTokenSource();
        // The root of everything takes longer than this.
        Task<BuildStatus> build = engine.BuildAsync("Z:/", cancellation: stop.Token);
        Throws<InvalidOperationException>(() => engine.Start("Z:/"), "one build at a time");
        stop.Cancel();
        try
        {
            await build;
            Expect(false, "a cancelled build is cancelled");
        }
        catch (OperationCanceledException)
        {
            Expect(engine.Status.State == BuildState.Cancelled, "a cancelled build has stopped");
        }
    }

    private static async Task Rules(string folder)
    {
        Processes();
        var engine = new SearchEngine();
        Arguments(engine);
        Waiting(engine, folder);
        await Cancelling(engine);
        SearchResults kept = await FolderListing.ListAsync(folder);
        engine.Dispose();
        engine.Dispose();
        Expect(kept.Count == 3, "results outlive the engine");
        Throws<ObjectDisposedException>(() => engine.Query("a"), "a disposed engine says so");
        Console.WriteLine(failed ? "Some rules do not hold." : "All rules hold.");
    }

    private static async Task<int> Main(string[] arguments)
    {
        Console.SetOut(new StreamWriter(Console.OpenStandardOutput()) { AutoFlush = true });
        switch (arguments[0])
        {
            case "layout":
                Layout.Print();
                break;
            case "library":
                Library();
                break;
            default:
                await Rules(arguments[1]);
                break;
        }
        return failed ? 1 : 0;
    }
}
