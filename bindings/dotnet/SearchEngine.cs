using System;
using System.Threading;
using System.Threading.Tasks;

namespace SystemSearch
{
    /// <summary>An index of names, and the build that fills it. All members may be used from any thread,
    /// also while a build runs.</summary>
    public sealed class SearchEngine : IDisposable
    {
        private const int PollMilliseconds = 10;

        private readonly EngineHandle engine;
        private readonly object start = new object();

        /// <summary>Makes an engine with an empty index.</summary>
        /// <exception cref="LibraryUnavailableException">The library cannot be used in this process.</exception>
        public SearchEngine()
        {
            Library.Require();
            engine = NativeMethods.ss_create();
            if (engine.IsInvalid) throw new OutOfMemoryException();
        }

        /// <summary>How far the build is.</summary>
        public BuildStatus Status
        {
            get
            {
                NativeMethods.ss_status(engine, out EngineStatus status);
                bool isReady = status.State == (uint)BuildState.Ready;
                string? warning = isReady ? Error() : "";
                return new BuildStatus(status, warning.Length > 0 ? warning : null);
            }
        }

        /// <summary>Starts a build, and returns at once.</summary>
        /// <param name="scope">The folder to index, an absolute path; "" stands for every local drive.</param>
        /// <param name="cachePath">The file that keeps the index until the next start; null for none.</param>
        /// <param name="force">Reads the disk even where the cache file could be loaded.</param>
        /// <exception cref="InvalidOperationException">A build of this engine is running.</exception>
        /// <exception cref="BuildFailedException">The system could not start it.</exception>
        public void Start(string scope = "", string? cachePath = null, bool force = false)
        {
            byte[] scopeText = Utf8.Bytes(scope, nameof(scope));
            byte[] cacheText = Utf8.Bytes(cachePath ?? "", nameof(cachePath));
            lock (start)
            {
                if (Status.State == BuildState.Running)
                {
                    throw new InvalidOperationException("A build of this engine is running.");
                }
                if (NativeMethods.ss_start(engine, scopeText, cacheText, force ? 1 : 0) == 0)
                {
                    throw new BuildFailedException("The build could not be started.");
                }
            }
        }

        /// <summary>Asks a running build to stop, and returns at once.</summary>
        public void Cancel() => NativeMethods.ss_cancel(engine);

        /// <summary>Waits until no build runs. A cancelled wait leaves the build running.</summary>
        /// <returns>How the build ended.</returns>
        /// <exception cref="BuildFailedException">It failed; the message is the reason.</exception>
        /// <exception cref="OperationCanceledException">The wait or the build was cancelled.</exception>
        public BuildStatus Wait(CancellationToken cancellation = default)
        {
            BuildStatus status = Status;
            while (status.State == BuildState.Running)
            {
                cancellation.WaitHandle.WaitOne(PollMilliseconds);
                cancellation.ThrowIfCancellationRequested();
                status = Status;
            }
            return Outcome(status, CancellationToken.None);
        }

        /// <summary>Starts a build and waits for its end without holding a thread. Cancelling it cancels the
        /// build, which has stopped when the task is cancelled.</summary>
        /// <param name="scope">The folder to index, an absolute path; "" stands for every local drive.</param>
        /// <param name="cachePath">The file that keeps the index until the next start; null for none.</param>
        /// <param name="force">Reads the disk even where the cache file could be loaded.</param>
        /// <param name="progress">Is told how far the build is, some hundred times a second at most.</param>
        /// <param name="cancellation">Cancels the build.</param>
        /// <returns>How the build ended.</returns>
        /// <exception cref="BuildFailedException">It failed; the message is the reason.</exception>
        /// <exception cref="OperationCanceledException">The build was cancelled.</exception>
        public async Task<BuildStatus> BuildAsync(string scope = "", string? cachePath = null, bool force = false,
            IProgress<BuildStatus>? progress = null, CancellationToken cancellation = default)
        {
            cancellation.ThrowIfCancellationRequested();
            Start(scope, cachePath, force);
            BuildStatus status = Status;
            while (status.State == BuildState.Running)
            {
                if (cancellation.IsCancellationRequested) Cancel();
                progress?.Report(status);
                await Task.Delay(PollMilliseconds).ConfigureAwait(false);
                status = Status;
            }
            return Outcome(status, cancellation);
        }

        /// <summary>Searches what is indexed at this moment, and waits for the results.</summary>
        /// <param name="text">A part of the name, or with "*" and "?" a pattern of the whole name; ""
        /// matches everything.</param>
        /// <param name="options">How to match; null for files and folders, by name, without regard to
        /// case.</param>
        /// <param name="cancellation">Ends the query.</param>
        /// <exception cref="QueryFailedException">The query failed.</exception>
        public SearchResults Query(string text, QueryOptions? options = null, CancellationToken cancellation = default) =>
            PendingQuery.Finish(Made(text, options ?? new QueryOptions(), cancellation), cancellation);

        /// <summary>Searches what is indexed at this moment, without holding a thread.</summary>
        /// <param name="text">A part of the name, or with "*" and "?" a pattern of the whole name; ""
        /// matches everything.</param>
        /// <param name="options">How to match; null for files and folders, by name, without regard to
        /// case.</param>
        /// <param name="cancellation">Ends the query.</param>
        /// <exception cref="QueryFailedException">The query failed.</exception>
        public Task<SearchResults> QueryAsync(string text, QueryOptions? options = null,
            CancellationToken cancellation = default) =>
            PendingQuery.FinishAsync(Made(text, options ?? new QueryOptions(), cancellation), cancellation);

        /// <summary>Stops a running build and frees the index. Queries that run still end well.</summary>
        public void Dispose() => engine.Dispose();

        private QueryHandle Made(string text, QueryOptions options, CancellationToken cancellation)
        {
            cancellation.ThrowIfCancellationRequested();
            return NativeMethods.ss_query(engine, Utf8.Bytes(text, nameof(text)), options.Flags, (uint)options.Kind,
                options.Limit);
        }

        private string Error() => Utf8.Copy(NativeMethods.ss_error(engine));

        private BuildStatus Outcome(BuildStatus status, CancellationToken cancellation)
        {
            if (status.State == BuildState.Cancelled)
            {
                throw new OperationCanceledException("The build was cancelled.", cancellation);
            }
            if (status.State == BuildState.Failed)
            {
                string reason = Error();
                throw new BuildFailedException(reason.Length > 0 ? reason : "The build could not be started.");
            }
            return status;
        }
    }
}
