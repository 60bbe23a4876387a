// Indexes a folder, searches it while the index grows, and lists the folder.
//
//     host FOLDER TEXT
using System;
using System.IO;
using System.Text;
using System.Threading.Tasks;
using SystemSearch;

internal static class Program
{
    // One line for each result: kind, size, seconds since 1970, path; "-" for what is not known.
    private static void PrintResults(string title, SearchResults results)
    {
        Console.WriteLine("{0}: {1} of {2} in {3}{4}", title, results.Count, results.Matched,
                          results.Searched, results.IsIncomplete ? ", incomplete" : "");
        foreach (SearchResult result in results)
        {
            Console.WriteLine(string.Join("\t", new[]
            {
                result.Kind == EntryKind.Folder ? "folder" : "file",
                result.Size.HasValue ? result.Size.Value.ToString() : "-",
                result.Modified.HasValue ? result.Modified.Value.ToUnixTimeSeconds().ToString() : "-",
                result.Path,
            }));
        }
    }

    // Searches until a search has seen the finished index; gives what that one found.
    private static async Task<SearchResults> SearchWhileIndexing(SearchEngine engine, string text)
    {
        while (true)
        {
            BuildState state = engine.Status.State;
            SearchResults results = await engine.QueryAsync(text);
            Console.Error.WriteLine("{0} matches in the first {1} entries", results.Matched, results.Searched);
            if (state != BuildState.Running) return results;
            await Task.Delay(20);
        }
    }

    // A console is told that UTF-8 comes. Into a file or pipe it is written as it is, because there
    // may be no console then, and telling none is an exception.
    private static void WriteUtf8()
    {
        var utf8 = new UTF8Encoding(false);
        if (Console.IsOutputRedirected)
        {
            Console.SetOut(new StreamWriter(Console.OpenStandardOutput(), utf8) { AutoFlush = true });
        }
        else
        {
            Console.OutputEncoding = utf8;
        }
    }

    private static async Task<int> Main(string[] arguments)
    {
        if (arguments.Length != 2)
        {
            Console.Error.WriteLine("usage: host FOLDER TEXT");
            return 2;
        }
        WriteUtf8();
        try
        {
            using (var engine = new SearchEngine())
            {
                Task<BuildStatus> build = engine.BuildAsync(arguments[0]);
                SearchResults found = await SearchWhileIndexing(engine, arguments[1]);
                BuildStatus status = await build;
                Console.WriteLine("indexed {0}, skipped {1}", status.Entries, status.Skipped);
                PrintResults("search", found);
            }
            PrintResults("list", await FolderListing.ListAsync(arguments[0]));
            return 0;
        }
        catch (SystemSearchException failure)
        {
            Console.Error.WriteLine(failure.Message);
            return 1;
        }
    }
}
