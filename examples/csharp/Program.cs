// Indexes a folder, searches it while the index grows, and lists the folder.
//
//     host FOLDER TEXT
using System;
using System.IO;
using System.Text;
using System.Threading;
using SystemSearch;

internal static class Program
{
    // Waits for the query's end. A program with a window would poll from a timer instead.
    private static QueryStatus Finish(Query query)
    {
        QueryStatus outcome = query.Poll();
        while (outcome.State == QueryState.Running)
        {
            Thread.Sleep(1);
            outcome = query.Poll();
        }
        if (outcome.State != QueryState.Done) throw new InvalidOperationException("The query failed.");
        return outcome;
    }

    // One line for each result: kind, size, seconds since 1970, path; "-" for what is not known.
    private static void PrintResults(string title, Query query, QueryStatus outcome)
    {
        Console.WriteLine("{0}: {1} of {2} in {3}{4}", title, outcome.Count, outcome.Matched,
                          outcome.IndexEntries, outcome.IndexIncomplete != 0 ? ", incomplete" : "");
        foreach (Result result in query.Results())
        {
            Console.WriteLine(string.Join("\t", new[]
            {
                result.Kind == Kind.Folder ? "folder" : "file",
                result.Size.HasValue ? result.Size.Value.ToString() : "-",
                result.Modified.HasValue ? result.Modified.Value.ToString() : "-",
                result.Path,
            }));
        }
    }

    // Searches until a search has seen the finished index, and prints what that one found.
    private static void SearchWhileIndexing(Engine engine, string text)
    {
        while (true)
        {
            EngineStatus build = engine.Status;
            if (build.State == EngineState.Failed) throw new InvalidOperationException(engine.Error);
            using (Query query = engine.Search(text))
            {
                QueryStatus outcome = Finish(query);
                if (build.State != EngineState.Running)
                {
                    Console.WriteLine("indexed {0}, skipped {1}", build.Entries, build.Skipped);
                    PrintResults("search", query, outcome);
                    return;
                }
                Console.Error.WriteLine("{0} matches in the first {1} entries", outcome.Matched,
                                        outcome.IndexEntries);
            }
            Thread.Sleep(20);
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

    private static int Main(string[] arguments)
    {
        if (arguments.Length != 2)
        {
            Console.Error.WriteLine("usage: host FOLDER TEXT");
            return 2;
        }
        WriteUtf8();
        try
        {
            using (Engine engine = Engine.Create())
            {
                if (!engine.Start(arguments[0]))
                {
                    throw new InvalidOperationException("The build did not start.");
                }
                SearchWhileIndexing(engine, arguments[1]);
            }
            using (Query listing = Query.ListFolder(arguments[0]))
            {
                PrintResults("list", listing, Finish(listing));
            }
            return 0;
        }
        catch (InvalidOperationException failure)
        {
            Console.Error.WriteLine(failure.Message);
            return 1;
        }
    }
}
