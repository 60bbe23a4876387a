using System.Threading;
using System.Threading.Tasks;

namespace SystemSearch
{
    /// <summary>A query that was just made, up to its results. It is freed whatever happens, which also
    /// stops it.</summary>
    internal static class PendingQuery
    {
        private const uint Running = 0;
        private const uint Done = 1;
        private const int PollMilliseconds = 1;

        internal static SearchResults Finish(QueryHandle query, CancellationToken cancellation)
        {
            using (query)
            {
                QueryStatus outcome = Poll(query);
                while (outcome.State == Running)
                {
                    cancellation.WaitHandle.WaitOne(PollMilliseconds);
                    cancellation.ThrowIfCancellationRequested();
                    outcome = Poll(query);
                }
                return Results(query, outcome);
            }
        }

        internal static async Task<SearchResults> FinishAsync(QueryHandle query, CancellationToken cancellation)
        {
            using (query)
            {
                QueryStatus outcome = Poll(query);
                while (outcome.State == Running)
                {
                    await Task.Delay(PollMilliseconds, cancellation).ConfigureAwait(false);
                    outcome = Poll(query);
                }
                return Results(query, outcome);
            }
        }

        private static QueryStatus Poll(QueryHandle query)
        {
            if (query.IsInvalid) throw new QueryFailedException("The query could not be started.");
            NativeMethods.ss_query_poll(query, out QueryStatus outcome);
            return outcome;
        }

        private static SearchResults Results(QueryHandle query, QueryStatus outcome)
        {
            if (outcome.State != Done) throw new QueryFailedException("The query failed.");
            return new SearchResults(query, outcome);
        }
    }
}
