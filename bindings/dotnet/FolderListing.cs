using System;
using System.Threading;
using System.Threading.Tasks;

namespace SystemSearch
{
    /// <summary>Searches the immediate children of one folder, on the disk and without an index.</summary>
    public static class FolderListing
    {
        /// <summary>Lists a folder, and waits for the results.</summary>
        /// <param name="folder">The folder, an absolute path.</param>
        /// <param name="text">What to look for, as in a search; "" matches everything.</param>
        /// <param name="options">How to match; null for files and folders, by name, without regard to
        /// case.</param>
        /// <param name="cancellation">Ends the listing.</param>
        /// <exception cref="QueryFailedException">The folder is not there, or cannot be read.</exception>
        /// <exception cref="LibraryUnavailableException">The library cannot be used in this process.</exception>
        public static SearchResults List(string folder, string text = "", QueryOptions? options = null,
            CancellationToken cancellation = default) =>
            PendingQuery.Finish(Made(folder, text, options ?? new QueryOptions(), cancellation), cancellation);

        /// <summary>Lists a folder without holding a thread.</summary>
        /// <param name="folder">The folder, an absolute path.</param>
        /// <param name="text">What to look for, as in a search; "" matches everything.</param>
        /// <param name="options">How to match; null for files and folders, by name, without regard to
        /// case.</param>
        /// <param name="cancellation">Ends the listing.</param>
        /// <exception cref="QueryFailedException">The folder is not there, or cannot be read.</exception>
        /// <exception cref="LibraryUnavailableException">The library cannot be used in this process.</exception>
        public static Task<SearchResults> ListAsync(string folder, string text = "", QueryOptions? options = null,
            CancellationToken cancellation = default) =>
            PendingQuery.FinishAsync(Made(folder, text, options ?? new QueryOptions(), cancellation), cancellation);

        private static QueryHandle Made(string folder, string text, QueryOptions options,
            CancellationToken cancellation)
        {
            cancellation.ThrowIfCancellationRequested();
            byte[] folderText = Utf8.Bytes(folder, nameof(folder));
            if (folder.Length == 0) throw new ArgumentException("The folder must not be empty.", nameof(folder));
            byte[] searched = Utf8.Bytes(text, nameof(text));
            Library.Require();
            return NativeMethods.ss_query_directory(folderText, searched, options.Flags, (uint)options.Kind,
                (uint)options.Limit);
        }
    }
}
